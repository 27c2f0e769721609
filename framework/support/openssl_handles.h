#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_OPENSSL_HANDLES_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_OPENSSL_HANDLES_H

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

namespace Framework {

/// Gives an OpenSSL object back by its own function.
template <auto Function>
struct FreeBy {
    template <typename Type>
    void operator()(Type* object) const noexcept
    {
        Function(object);
    }
};

inline void FreeOpensslText(char* text) noexcept
{
    OPENSSL_free(text);
}

using BioHandle = std::unique_ptr<BIO, FreeBy<BIO_free_all>>;
using BignumHandle = std::unique_ptr<BIGNUM, FreeBy<BN_free>>;
using CipherHandle = std::unique_ptr<EVP_CIPHER_CTX, FreeBy<EVP_CIPHER_CTX_free>>;
using SslContextHandle = std::unique_ptr<SSL_CTX, FreeBy<SSL_CTX_free>>;
using SslHandle = std::unique_ptr<SSL, FreeBy<SSL_free>>;
using CertificateHandle = std::unique_ptr<X509, FreeBy<X509_free>>;
using OpensslText = std::unique_ptr<char, FreeBy<FreeOpensslText>>;

/// The oldest error of this thread's OpenSSL queue as text, which is emptied; empty when there is none.
std::string TakeOpensslError();

} // namespace Framework

#endif

#ifndef PRODUCT_STORAGE_BASE_OPENSSL_HANDLES_H
#define PRODUCT_STORAGE_BASE_OPENSSL_HANDLES_H

#include "base/free_by.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

namespace Base {

inline void FreeOpensslText(char* text) noexcept
{
    OPENSSL_free(text);
}

using BioHandle = std::unique_ptr<BIO, FreeBy<BIO_free_all>>;
using BignumHandle = std::unique_ptr<BIGNUM, FreeBy<BN_free>>;
using CertificateHandle = std::unique_ptr<X509, FreeBy<X509_free>>;
using CipherHandle = std::unique_ptr<EVP_CIPHER_CTX, FreeBy<EVP_CIPHER_CTX_free>>;
using ExtensionHandle = std::unique_ptr<X509_EXTENSION, FreeBy<X509_EXTENSION_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, FreeBy<EVP_PKEY_free>>;
using OpensslText = std::unique_ptr<char, FreeBy<FreeOpensslText>>;
using TlsContextHandle = std::unique_ptr<SSL_CTX, FreeBy<SSL_CTX_free>>;
using TlsHandle = std::unique_ptr<SSL, FreeBy<SSL_free>>;

/// The oldest error of this thread's OpenSSL queue as text, which is emptied; empty when there is none.
std::string TakeOpensslError();

/// Throws std::runtime_error made of `what` and the reason of that error, if there is one; empties the queue as well.
[[noreturn]] void ThrowOpenssl(const std::string& what);

} // namespace Base

#endif

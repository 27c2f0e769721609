#ifndef ZAVSIM_HTTP_OPENSSL_HANDLES_H
#define ZAVSIM_HTTP_OPENSSL_HANDLES_H

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

namespace ZavSim {

template <auto Release>
struct OpenSslRelease {
    template <typename Handle>
    void operator()(Handle* handle) const noexcept
    {
        Release(handle);
    }
};

using BioHandle = std::unique_ptr<BIO, OpenSslRelease<&BIO_free_all>>;
using BignumHandle = std::unique_ptr<BIGNUM, OpenSslRelease<&BN_free>>;
using CertificateHandle = std::unique_ptr<X509, OpenSslRelease<&X509_free>>;
using ExtensionHandle = std::unique_ptr<X509_EXTENSION, OpenSslRelease<&X509_EXTENSION_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, OpenSslRelease<&EVP_PKEY_free>>;
using TlsHandle = std::unique_ptr<SSL, OpenSslRelease<&SSL_free>>;
using TlsContextHandle = std::unique_ptr<SSL_CTX, OpenSslRelease<&SSL_CTX_free>>;

/// Throws std::runtime_error made of `what` and OpenSSL's own text of the first error in this thread's queue, and
/// empties the queue.
[[noreturn]] void ThrowOpenSsl(const std::string& what);

} // namespace ZavSim

#endif

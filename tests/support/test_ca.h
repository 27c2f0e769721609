#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_TEST_CA_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_TEST_CA_H

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

/// A key with its certificate.
struct Identity {
    std::shared_ptr<EVP_PKEY> key;
    std::shared_ptr<X509> certificate;

    std::string Pem() const;
};

/// What a certificate says.
struct CertificateWish {
    std::string subject = "test server";
    std::string altNames = "IP:127.0.0.1"; ///< as OpenSSL writes them; empty for none
    long validFromSeconds = -3600;         ///< from now
    long validToSeconds = 3600;
    bool hasRsaKey = false; ///< else one on an elliptic curve
};

/// A certificate authority for one test.
class TestCa {
public:
    explicit TestCa(const std::string& name = "Test CA");

    /// One below another, which signs its certificate.
    TestCa(const std::string& name, const TestCa& above);

    Identity Issue(const CertificateWish& wish) const;
    Identity Issue() const { return Issue(CertificateWish()); }

    const Identity& Own() const { return m_identity; }

private:
    Identity m_identity;
};

#endif

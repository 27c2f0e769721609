#include "tests/support/test_ca.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <stdexcept>

namespace {

std::shared_ptr<EVP_PKEY> MakeKey(bool isRsa)
{
    constexpr std::size_t RSA_BITS = 2048;
    return {isRsa ? EVP_RSA_gen(RSA_BITS) : EVP_EC_gen("P-256"), EVP_PKEY_free};
}

void AddExtension(X509* certificate, X509* issuer, int type, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, type, value.c_str());
    if (extension == nullptr || X509_add_ext(certificate, extension, -1) != 1) {
        throw std::runtime_error("no extension " + value);
    }
    X509_EXTENSION_free(extension);
}

std::shared_ptr<X509> MakeCertificate(const CertificateWish& wish, EVP_PKEY* key)
{
    static std::atomic<long> lastSerial = 0x1234ABCD;
    std::shared_ptr<X509> certificate(X509_new(), X509_free);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), ++lastSerial);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), wish.validFromSeconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), wish.validToSeconds);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(wish.subject.c_str()), -1, -1, 0);
    X509_set_pubkey(certificate.get(), key);
    return certificate;
}

// One that signs itself where nobody is above it.
Identity MakeAuthority(const std::string& name, const Identity* above)
{
    CertificateWish wish;
    wish.subject = name;
    Identity identity;
    identity.key = MakeKey(false);
    identity.certificate = MakeCertificate(wish, identity.key.get());
    X509* const own = identity.certificate.get();
    const Identity& issuer = above == nullptr ? identity : *above;
    X509_set_issuer_name(own, X509_get_subject_name(issuer.certificate.get()));
    AddExtension(own, issuer.certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(own, issuer.certificate.get(), NID_key_usage, "critical,keyCertSign");
    AddExtension(own, issuer.certificate.get(), NID_subject_key_identifier, "hash");
    X509_sign(own, issuer.key.get(), EVP_sha256());
    return identity;
}

} // namespace

std::string Identity::Pem() const
{
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> memory(BIO_new(BIO_s_mem()), BIO_free_all);
    PEM_write_bio_X509(memory.get(), certificate.get());
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &bytes);
    return std::string(bytes, static_cast<std::size_t>(size));
}

TestCa::TestCa(const std::string& name)
    : m_identity(MakeAuthority(name, nullptr))
{
}

TestCa::TestCa(const std::string& name, const TestCa& above)
    : m_identity(MakeAuthority(name, &above.m_identity))
{
}

Identity TestCa::Issue(const CertificateWish& wish) const
{
    Identity identity;
    identity.key = MakeKey(wish.hasRsaKey);
    identity.certificate = MakeCertificate(wish, identity.key.get());
    X509* const issuer = m_identity.certificate.get();
    X509_set_issuer_name(identity.certificate.get(), X509_get_subject_name(issuer));
    if (!wish.altNames.empty()) {
        AddExtension(identity.certificate.get(), issuer, NID_subject_alt_name, wish.altNames);
    }
    AddExtension(identity.certificate.get(), issuer, NID_authority_key_identifier, "keyid");
    X509_sign(identity.certificate.get(), m_identity.key.get(), EVP_sha256());
    return identity;
}

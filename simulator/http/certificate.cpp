#include "simulator/http/certificate.h"

#include <openssl/pem.h>
#include <openssl/rand.h>

#include <ctime>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr long SECONDS_A_DAY = 24L * 60 * 60;
constexpr long CLOCK_LEEWAY_SECONDS = 60L * 60;
constexpr long AUTHORITY_DAYS = 3650;
constexpr long SERVER_DAYS = 365;
constexpr int SERIAL_BITS = 127;
constexpr int X509_VERSION = 2; // counts from 0: this is version 3

void Require(bool done, const char* what)
{
    if (!done) {
        Base::ThrowOpenssl(what);
    }
}

void SetSerial(X509* certificate)
{
    const Base::BignumHandle number(BN_new());
    Require(number && BN_rand(number.get(), SERIAL_BITS, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
                BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
            "cannot draw a serial number");
}

void SetSubject(X509* certificate, const std::string& name)
{
    const auto* const text = reinterpret_cast<const unsigned char*>(name.c_str());
    Require(X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1,
            "cannot name a certificate");
}

void AddExtension(X509* certificate, X509* issuer, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Base::ExtensionHandle extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
    Require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "cannot add to a certificate");
}

/// A certificate with a new key, complete but for its extensions and signature.
Identity Draft(const std::string& name, long days)
{
    Identity identity{Base::CertificateHandle(X509_new()), Base::KeyHandle(EVP_EC_gen("P-256"))};
    Require(identity.certificate && identity.key, "cannot make a key");
    X509* const certificate = identity.certificate.get();
    Require(X509_set_version(certificate, X509_VERSION) == 1 &&
                X509_gmtime_adj(X509_getm_notBefore(certificate), -CLOCK_LEEWAY_SECONDS) != nullptr &&
                X509_gmtime_adj(X509_getm_notAfter(certificate), days * SECONDS_A_DAY) != nullptr &&
                X509_set_pubkey(certificate, identity.key.get()) == 1,
            "cannot make a certificate");
    SetSerial(certificate);
    SetSubject(certificate, name);
    return identity;
}

void Sign(X509* certificate, EVP_PKEY* key)
{
    Require(X509_sign(certificate, key, EVP_sha256()) != 0, "cannot sign a certificate");
}

std::string TextOf(BIO* memory)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory, &data);
    return std::string(data, static_cast<std::size_t>(size));
}

Base::BioHandle Reading(const std::string& text)
{
    return Base::BioHandle(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

} // namespace

Identity MakeAuthority()
{
    Identity authority = Draft("zavsim certificate authority", AUTHORITY_DAYS);
    X509* const certificate = authority.certificate.get();
    Require(X509_set_issuer_name(certificate, X509_get_subject_name(certificate)) == 1, "cannot name an issuer");
    AddExtension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
    AddExtension(certificate, certificate, NID_subject_key_identifier, "hash");
    Sign(certificate, authority.key.get());
    return authority;
}

Identity MakeServerIdentity(const Identity& authority, const std::string& address)
{
    Identity server = Draft("zavsim " + address, SERVER_DAYS);
    X509* const certificate = server.certificate.get();
    X509* const issuer = authority.certificate.get();
    Require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1, "cannot name an issuer");
    AddExtension(certificate, issuer, NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(certificate, issuer, NID_key_usage, "critical,digitalSignature");
    AddExtension(certificate, issuer, NID_ext_key_usage, "serverAuth");
    AddExtension(certificate, issuer, NID_subject_key_identifier, "hash");
    AddExtension(certificate, issuer, NID_authority_key_identifier, "keyid");
    AddExtension(certificate, issuer, NID_subject_alt_name, "IP:" + address);
    Sign(certificate, authority.key.get());
    return server;
}

bool IsWithinDates(const Identity& identity)
{
    std::time_t tomorrow = std::time(nullptr) + SECONDS_A_DAY;
    return X509_cmp_current_time(X509_get0_notBefore(identity.certificate.get())) < 0 &&
           X509_cmp_time(X509_get0_notAfter(identity.certificate.get()), &tomorrow) > 0;
}

bool IsUsableFor(const Identity& server, const Identity& authority, const std::string& address)
{
    return IsWithinDates(server) && X509_check_ip_asc(server.certificate.get(), address.c_str(), 0) == 1 &&
           X509_verify(server.certificate.get(), authority.key.get()) == 1;
}

std::string CertificateToPem(const Identity& identity)
{
    const Base::BioHandle memory(BIO_new(BIO_s_mem()));
    Require(memory && PEM_write_bio_X509(memory.get(), identity.certificate.get()) == 1, "cannot write a certificate");
    return TextOf(memory.get());
}

std::string KeyToPem(const Identity& identity)
{
    const Base::BioHandle memory(BIO_new(BIO_s_mem()));
    Require(memory &&
                PEM_write_bio_PrivateKey(memory.get(), identity.key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "cannot write a private key");
    return TextOf(memory.get());
}

Identity IdentityFromPem(const std::string& certificate, const std::string& key)
{
    Identity identity{
        Base::CertificateHandle(PEM_read_bio_X509(Reading(certificate).get(), nullptr, nullptr, nullptr)),
        Base::KeyHandle(PEM_read_bio_PrivateKey(Reading(key).get(), nullptr, nullptr, nullptr)),
    };
    Require(identity.certificate != nullptr, "not a certificate in PEM form");
    Require(identity.key != nullptr, "not a private key in PEM form");
    Require(X509_check_private_key(identity.certificate.get(), identity.key.get()) == 1,
            "certificate and private key do not belong together");
    return identity;
}

} // namespace ZavSim

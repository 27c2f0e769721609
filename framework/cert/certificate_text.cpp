#include "framework/cert/certificate_text.h"

#include "base/openssl_handles.h"
#include "base/utc_text.h"

#include <openssl/asn1.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <boost/algorithm/hex.hpp>

#include <array>
#include <ctime>
#include <iterator>
#include <string>

namespace Framework {

namespace {

std::string TakeText(BIO* memory)
{
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(memory, &bytes);
    return size > 0 ? std::string(bytes, static_cast<std::size_t>(size)) : std::string();
}

std::string NameText(const X509_NAME* name)
{
    const Base::BioHandle memory(BIO_new(BIO_s_mem()));
    // RFC 2253 with the characters of other scripts as they are.
    if (memory == nullptr || X509_NAME_print_ex(memory.get(), name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB) < 0) {
        return {};
    }
    return TakeText(memory.get());
}

std::string SerialText(X509* certificate)
{
    const Base::BignumHandle number(ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr));
    const Base::OpensslText text(number == nullptr ? nullptr : BN_bn2hex(number.get()));
    return text == nullptr ? std::string() : std::string(text.get());
}

std::string TimeText(const ASN1_TIME* time)
{
    std::tm parts = {};
    return ASN1_TIME_to_tm(time, &parts) == 1 ? Base::UtcText(parts) : std::string();
}

std::string FingerprintText(const X509* certificate)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned int size = 0;
    std::string text;
    if (X509_digest(certificate, EVP_sha256(), digest.data(), &size) == 1) {
        boost::algorithm::hex_lower(digest.begin(), digest.begin() + size, std::back_inserter(text));
    }
    return text;
}

std::string PemText(X509* certificate)
{
    const Base::BioHandle memory(BIO_new(BIO_s_mem()));
    if (memory == nullptr || PEM_write_bio_X509(memory.get(), certificate) != 1) {
        return {};
    }
    return TakeText(memory.get());
}

} // namespace

VerifiedCertInfo DescribeCertificate(X509* certificate)
{
    VerifiedCertInfo info;
    info.set_subject(NameText(X509_get_subject_name(certificate)));
    info.set_issuer(NameText(X509_get_issuer_name(certificate)));
    info.set_serial_number(SerialText(certificate));
    info.set_not_before(TimeText(X509_get0_notBefore(certificate)));
    info.set_not_after(TimeText(X509_get0_notAfter(certificate)));
    info.set_sha256_fingerprint(FingerprintText(certificate));
    info.set_pem(PemText(certificate));
    return info;
}

} // namespace Framework

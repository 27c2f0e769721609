#ifndef PRODUCT_STORAGE_FRAMEWORK_CERT_CERTIFICATE_TEXT_H
#define PRODUCT_STORAGE_FRAMEWORK_CERT_CERTIFICATE_TEXT_H

#include "common/framework/product_messages.pb.h"

#include <openssl/x509.h>

namespace Framework {

/// What `certificate` says, in the forms that VerifiedCertInfo promises. What cannot be read stays empty.
VerifiedCertInfo DescribeCertificate(X509* certificate);

} // namespace Framework

#endif

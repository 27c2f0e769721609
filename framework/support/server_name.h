#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_SERVER_NAME_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_SERVER_NAME_H

#include <openssl/x509_vfy.h>

#include <string>

namespace Framework {

/// Has a handshake check that the certificate is made out to `host`, a name or an address without brackets, as an
/// alternative name: what stands in its subject alone does not count. False when there is no memory for it.
bool RequireServerName(X509_VERIFY_PARAM* wanted, const std::string& host);

} // namespace Framework

#endif

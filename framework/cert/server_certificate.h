#ifndef PRODUCT_STORAGE_FRAMEWORK_CERT_SERVER_CERTIFICATE_H
#define PRODUCT_STORAGE_FRAMEWORK_CERT_SERVER_CERTIFICATE_H

#include "base/openssl_handles.h"
#include "framework/http/url_parts.h"

#include <string>

namespace Framework {

/// Which certificates are trusted.
struct TrustStore {
    std::string path; ///< a PEM file, or a directory of certificates by hash; empty for the system's
};

/// What a server showed.
struct ServerCertificate {
    Base::CertificateHandle certificate; ///< null when there was no TLS connection
    std::string problem;                 ///< why it is not trusted; empty when it is
};

/// Connects to `server`, shakes hands and hangs up, all within `timeoutSeconds` for the connection and as many for the
/// handshake. The certificate's chain must end in `trust`, its dates must hold now, and it must be made out to the
/// server's address or name.
ServerCertificate FetchServerCertificate(const UrlParts& server, const TrustStore& trust, long timeoutSeconds);

} // namespace Framework

#endif

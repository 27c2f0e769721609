#ifndef ZAVSIM_HTTP_CERTIFICATE_FOLDER_H
#define ZAVSIM_HTTP_CERTIFICATE_FOLDER_H

#include "simulator/http/certificate.h"

#include <string>

namespace ZavSim {

/// A folder with the simulator's own certificate authority (ca.pem, which clients are to trust, and ca.key) and one
/// server certificate for each address (server-<address>.pem and .key). What is there is used again; a server
/// certificate that is no longer good is made anew, an authority never is, because clients trust it.
///
/// Several processes may share the folder. One object belongs to one thread.
class CertificateFolder {
public:
    /// Makes the folder and the authority when they are missing. Throws std::runtime_error naming the file and why when
    /// the folder cannot be used or the authority in it is damaged or out of date.
    explicit CertificateFolder(std::string folder);

    std::string AuthorityPath() const { return m_folder + "/ca.pem"; }

    /// A context for serving on the address: TLS 1.2 at least. Throws std::runtime_error.
    Base::TlsContextHandle ServerContext(const std::string& address) const;

private:
    Identity LoadOrMakeServer(const std::string& address) const;

    std::string m_folder;
    Identity m_authority;
};

} // namespace ZavSim

#endif

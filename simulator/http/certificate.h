#ifndef ZAVSIM_HTTP_CERTIFICATE_H
#define ZAVSIM_HTTP_CERTIFICATE_H

#include "base/openssl_handles.h"

#include <string>

namespace ZavSim {

/// A certificate with its private key.
struct Identity {
    Base::CertificateHandle certificate;
    Base::KeyHandle key;
};

/// A new authority that signs itself. Throws std::runtime_error.
Identity MakeAuthority();

/// A new server certificate for one IP address, signed by the authority. Throws std::runtime_error.
Identity MakeServerIdentity(const Identity& authority, const std::string& address);

/// True when the certificate is for the address, is signed by the authority, and stays valid for a day at least.
bool IsUsableFor(const Identity& server, const Identity& authority, const std::string& address);

/// True when the certificate is within its dates, with a day to spare.
bool IsWithinDates(const Identity& identity);

std::string CertificateToPem(const Identity& identity);
std::string KeyToPem(const Identity& identity);

/// Throws std::runtime_error when one of the texts is not PEM or key and certificate do not belong together.
Identity IdentityFromPem(const std::string& certificate, const std::string& key);

} // namespace ZavSim

#endif

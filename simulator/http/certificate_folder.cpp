#include "simulator/http/certificate_folder.h"

#include "base/file_lock.h"
#include "base/files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr unsigned FOLDER_MODE = 0755;
constexpr unsigned CERTIFICATE_MODE = 0644;
constexpr unsigned KEY_MODE = 0600;
constexpr const char* LOCK_NAME = "/lock"; // keeps other processes out of the folder

void Store(const Identity& identity, const std::string& certificatePath, const std::string& keyPath)
{
    Base::SaveFile(keyPath, KeyToPem(identity), KEY_MODE);
    Base::SaveFile(certificatePath, CertificateToPem(identity), CERTIFICATE_MODE);
}

std::optional<Identity> LoadIfThere(const std::string& certificatePath, const std::string& keyPath)
{
    const auto certificate = Base::ReadFileIfThere(certificatePath);
    const auto key = Base::ReadFileIfThere(keyPath);
    if (!certificate && !key) {
        return std::nullopt;
    }
    if (!certificate || !key) {
        throw std::runtime_error((certificate ? keyPath : certificatePath) + " is missing beside " +
                                 (certificate ? certificatePath : keyPath));
    }
    try {
        return IdentityFromPem(*certificate, *key);
    } catch (const std::exception& error) {
        throw std::runtime_error(certificatePath + ": " + error.what());
    }
}

Identity LoadOrMakeAuthority(const std::string& folder)
{
    if (::mkdir(folder.c_str(), FOLDER_MODE) != 0 && errno != EEXIST) {
        Base::ThrowErrno("cannot make the folder", folder);
    }
    Base::FileLock lock(folder + LOCK_NAME);
    lock.Lock();
    auto authority = LoadIfThere(folder + "/ca.pem", folder + "/ca.key");
    if (!authority) {
        authority = MakeAuthority();
        Store(*authority, folder + "/ca.pem", folder + "/ca.key");
    }
    if (!IsWithinDates(*authority)) {
        throw std::runtime_error(folder + "/ca.pem is out of date; remove the folder to have a new authority made");
    }
    return std::move(*authority);
}

} // namespace

CertificateFolder::CertificateFolder(std::string folder)
    : m_folder(std::move(folder))
    , m_authority(LoadOrMakeAuthority(m_folder))
{
}

Identity CertificateFolder::LoadOrMakeServer(const std::string& address) const
{
    std::string name = address;
    std::replace(name.begin(), name.end(), ':', '_'); // an IPv6 address as a file name that every tool takes
    const std::string base = m_folder + "/server-" + name;
    Base::FileLock lock(m_folder + LOCK_NAME);
    lock.Lock();
    try {
        auto server = LoadIfThere(base + ".pem", base + ".key");
        if (server && IsUsableFor(*server, m_authority, address)) {
            return std::move(*server);
        }
    } catch (const std::exception&) {
        // Nobody trusts a server certificate by itself, so a damaged one is simply replaced.
    }
    Identity server = MakeServerIdentity(m_authority, address);
    Store(server, base + ".pem", base + ".key");
    return server;
}

Base::TlsContextHandle CertificateFolder::ServerContext(const std::string& address) const
{
    const Identity server = LoadOrMakeServer(address);
    Base::TlsContextHandle context(SSL_CTX_new(TLS_server_method()));
    if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        SSL_CTX_use_certificate(context.get(), server.certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), server.key.get()) != 1) {
        Base::ThrowOpenssl("cannot set up TLS for " + address);
    }
    return context;
}

} // namespace ZavSim

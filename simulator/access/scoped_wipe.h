#ifndef ZAVSIM_ACCESS_SCOPED_WIPE_H
#define ZAVSIM_ACCESS_SCOPED_WIPE_H

#include <openssl/crypto.h>

#include <string>

namespace ZavSim {

/// Overwrites a secret when the scope ends, however it ends.
class ScopedWipe {
public:
    explicit ScopedWipe(std::string& secret) noexcept
        : m_secret(secret)
    {
    }
    ScopedWipe(const ScopedWipe&) = delete;
    ScopedWipe& operator=(const ScopedWipe&) = delete;
    ~ScopedWipe() { OPENSSL_cleanse(m_secret.data(), m_secret.size()); }

private:
    std::string& m_secret;
};

} // namespace ZavSim

#endif

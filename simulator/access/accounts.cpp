#include "simulator/access/accounts.h"

#include "base/secret.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <stdexcept>

namespace ZavSim {

void Accounts::Add(const std::string& user, const std::string& password)
{
    m_digests[user] = DigestOf(user, password);
}

bool Accounts::Accepts(const std::string& user, const std::string& password) const
{
    const Digest given = DigestOf(user, password);
    const auto found = m_digests.find(user);
    return found != m_digests.end() && CRYPTO_memcmp(found->second.data(), given.data(), given.size()) == 0;
}

Accounts::Digest Accounts::DigestOf(const std::string& user, const std::string& password)
{
    // The user's name as salt: equal passwords do not show as equal.
    std::string text = user + '\0' + password;
    const Secret::ScopedWipe wipeText(text);
    Digest digest{};
    if (EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 is not available");
    }
    return digest;
}

} // namespace ZavSim

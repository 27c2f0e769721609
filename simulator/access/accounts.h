#ifndef ZAVSIM_ACCESS_ACCOUNTS_H
#define ZAVSIM_ACCESS_ACCOUNTS_H

#include <array>
#include <map>
#include <string>

namespace ZavSim {

/// Who may log in. Keeps digests, never a password. Filled before anything is served; from then on any thread may ask.
class Accounts {
public:
    /// A user added twice has the later password.
    void Add(const std::string& user, const std::string& password);
    bool Accepts(const std::string& user, const std::string& password) const;

private:
    using Digest = std::array<unsigned char, 32>;

    static Digest DigestOf(const std::string& user, const std::string& password);

    std::map<std::string, Digest> m_digests;
};

} // namespace ZavSim

#endif

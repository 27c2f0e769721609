#include "simulator/options/account_arguments.h"

#include "base/files.h"
#include "base/secret.h"

#include <stdexcept>

namespace ZavSim {

void AccountArguments::Declare(CLI::App& app)
{
    app.add_option(m_userOption, m_users, "User name; may be repeated");
    app.add_option(m_fileOption, m_files,
                   "File with the user's password in its first line; one for each " + m_userOption);
}

Accounts AccountArguments::Read() const
{
    if (m_users.size() != m_files.size()) {
        throw std::invalid_argument(m_userOption + " and " + m_fileOption + " must be given equally often");
    }
    Accounts accounts;
    if (m_users.empty()) {
        accounts.Add(STANDARD_USER, STANDARD_PASSWORD);
    }
    for (std::size_t i = 0; i < m_users.size(); ++i) {
        std::string password = ReadPassword(m_files[i]);
        const Secret::ScopedWipe wipePassword(password);
        accounts.Add(m_users[i], password);
    }
    return accounts;
}

std::string AccountArguments::ReadPassword(const std::string& path) const
{
    auto text = Base::ReadFileIfThere(path);
    if (!text) {
        throw std::invalid_argument(m_fileOption + ": there is no file " + path);
    }
    const Secret::ScopedWipe wipeText(*text);
    std::string password = text->substr(0, text->find_first_of("\r\n"));
    if (password.empty()) {
        throw std::invalid_argument(m_fileOption + ": the first line of " + path + " is empty");
    }
    return password;
}

} // namespace ZavSim

#ifndef ZAVSIM_OPTIONS_ACCOUNT_ARGUMENTS_H
#define ZAVSIM_OPTIONS_ACCOUNT_ARGUMENTS_H

#include "simulator/access/accounts.h"

#include <CLI/App.hpp>

#include <string>
#include <vector>

namespace ZavSim {

constexpr const char* STANDARD_USER = "admin";
constexpr const char* STANDARD_PASSWORD = "zavsim-admin";

/// The pair of options that says who may log in to one system: a user's name, and a file with the password.
class AccountArguments {
public:
    /// The options' names, such as "--user" and "--password-file".
    AccountArguments(std::string userOption, std::string fileOption)
        : m_userOption(std::move(userOption))
        , m_fileOption(std::move(fileOption))
    {
    }

    void Declare(CLI::App& app);

    /// What was given; the standard account when nothing was. Throws std::invalid_argument naming the option when the
    /// two do not match, and std::runtime_error when a file cannot be read.
    Accounts Read() const;

private:
    std::string ReadPassword(const std::string& path) const;

    std::string m_userOption;
    std::string m_fileOption;
    std::vector<std::string> m_users;
    std::vector<std::string> m_files;
};

} // namespace ZavSim

#endif

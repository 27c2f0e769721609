#include "cli/commands.h"

#include "base/secret.h"
#include "cli/failure.h"
#include "cli/password_prompt.h"
#include "common/framework/security.h"

#include <iostream>
#include <string>

namespace {

ExitCode EncryptPassword(LogTail& /*log*/, StopSignals& /*signals*/)
{
    std::string password;
    const Secret::ScopedWipe wipePassword(password);
    ReadPassword("Password", password);
    std::string cipher;
    std::string errorText;
    if (!SecuritySS::ZelkEncryptInfo(password, cipher, errorText)) {
        throw Failure(ExitCode::Unusable, "password: " + errorText);
    }
    std::cout << cipher << std::endl;
    return ExitCode::Done;
}

} // namespace

void AddPasswordCommand(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("password", "Stored passwords");
    command->require_subcommand(1);
    command
        ->add_subcommand("encrypt", "Read a password from a prompt or standard input and print what an environment's "
                                    "encrypted_passwords takes")
        ->callback([&run] { run = EncryptPassword; });
}

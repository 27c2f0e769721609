#include "cli/commands/commands.h"

#include "base/secret.h"
#include "cli/commands/options.h"
#include "cli/commands/password_prompt.h"
#include "cli/node/node_key.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

ExitCode EncryptPassword(bool isNewKeyWanted)
{
    const NodeKey key(isNewKeyWanted);
    std::string password;
    const Secret::ScopedWipe wipePassword(password);
    ReadPassword("Password", password);
    std::cout << key.Encrypt(password) << std::endl;
    return ExitCode::Done;
}

} // namespace

void AddPasswordCommand(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("password", "Stored passwords");
    command->require_subcommand(1);
    const std::vector<std::string> examples = {"zavctl password encrypt",
                                               "zavctl password encrypt --new-key <password"};
    Options::AddExamples(*command, examples);
    const auto isNewKeyWanted = std::make_shared<bool>(false);
    CLI::App* const encrypt = command->add_subcommand(
        "encrypt", "Read a password from a prompt or standard input and print what an environment's "
                   "encrypted_passwords takes");
    Options::AddNewKey(*encrypt, *isNewKeyWanted);
    Options::AddExamples(*encrypt, examples);
    encrypt->callback([isNewKeyWanted, &run] {
        run = [isNewKeyWanted](LogTail& /*log*/, StopSignals& /*signals*/) { return EncryptPassword(*isNewKeyWanted); };
    });
}

#include "cli/commands/completion_command.h"

#include "cli/commands/commands.h"
#include "cli/commands/options.h"
#include "cli/completion/completion.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <iostream>
#include <map>
#include <memory>
#include <string>

namespace {

using Writer = std::string (*)(const Completion::Command&);

const std::map<std::string, Writer>& Writers()
{
    static const std::map<std::string, Writer> writers = {
        {"bash", Completion::ForBash}, {"zsh", Completion::ForZsh}, {"fish", Completion::ForFish}};
    return writers;
}

} // namespace

void AddCompletionCommand(CLI::App& app, Run& run)
{
    const auto shell = std::make_shared<std::string>();
    CLI::App* const command =
        app.add_subcommand(COMPLETION_COMMAND, "Print what makes a shell complete commands, options and their values");
    command->add_option("SHELL", *shell, "Whose script to print")
        ->option_text("bash|zsh|fish REQUIRED")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    Options::AddExamples(*command, {"source <(zavctl completion bash)", "zavctl completion zsh >_zavctl",
                                    "zavctl completion fish >zavctl.fish"});
    command->callback([shell, &app, &run] {
        run = [shell, &app](LogTail& /*log*/, StopSignals& /*signals*/) {
            std::cout << Writers().at(*shell)(Completion::Read(app)) << std::flush;
            return ExitCode::Done;
        };
    });
}

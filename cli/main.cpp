#include "cli/commands.h"
#include "cli/config_command.h"
#include "cli/failure.h"
#include "cli/report.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdlib>
#include <exception>

// zavctl: prepares, watches and cleans up this node on storage arrays from the command line.

namespace {

constexpr const char* CONSOLE_LEVEL = "PRODUCT_STORAGE_LOG_CONSOLE";

// The library tells what fails, and why, in its log: those lines belong on standard error of a command.
void ShowLog(bool isVerbose)
{
    const int keepsWhatTheUserSet = isVerbose ? 1 : 0;
    setenv(CONSOLE_LEVEL, isVerbose ? "1" : "3", keepsWhatTheUserSet);
}

ExitCode Main(int argc, char** argv)
{
    CLI::App app("Prepares this node for block access to storage arrays", "zavctl");
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("zavctl ") + PRODUCT_STORAGE_VERSION);
    bool isVerbose = false;
    app.add_flag("-v,--verbose", isVerbose, "Show all of the library's log lines on standard error");
    Run run;
    AddInitCommand(app, run);
    AddInventoryCommand(app, run);
    AddCleanupCommand(app, run);
    AddPasswordCommand(app, run);
    AddConfigCommand(app, run);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitCode::Done : ExitCode::Usage; // --help and --version come this way too
    }
    ShowLog(isVerbose);
    try {
        RequireSoundConfiguration();
        return run();
    } catch (const Failure& failure) {
        Report::Step(failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        Report::Step(std::string("internal error: ") + error.what());
        return ExitCode::Failed;
    }
}

} // namespace

int main(int argc, char** argv)
{
    return static_cast<int>(Main(argc, argv));
}

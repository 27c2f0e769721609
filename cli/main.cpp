#include "cli/commands.h"
#include "cli/config_command.h"
#include "cli/failure.h"
#include "cli/log_tail.h"
#include "cli/report.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdlib>
#include <exception>

// zavctl: prepares, watches and cleans up this node on storage arrays, and asks arrays and clusters what they are.

namespace {

constexpr const char* CONSOLE_LEVEL = "PRODUCT_STORAGE_LOG_CONSOLE";

ExitCode RunCommand(const Run& run, bool isVerbose)
{
    if (isVerbose) {
        setenv(CONSOLE_LEVEL, "1", 1);
    }
    RequireSoundConfiguration();
    LogTail log(std::getenv(CONSOLE_LEVEL) != nullptr);
    try {
        return run(log);
    } catch (const std::exception&) {
        log.PrintFailures(); // the cause, in front of what came of it
        throw;
    }
}

ExitCode Main(int argc, char** argv)
{
    CLI::App app("Prepares this node for block access to storage arrays, and asks storage what it is", "zavctl");
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("zavctl ") + PRODUCT_STORAGE_VERSION);
    bool isVerbose = false;
    app.add_flag("-v,--verbose", isVerbose, "Show all of the library's log lines on standard error");
    Run run;
    AddInitCommand(app, run);
    AddInventoryCommand(app, run);
    AddCleanupCommand(app, run);
    AddTidyCommand(app, run);
    AddClusterCommand(app, run);
    AddPasswordCommand(app, run);
    AddConfigCommand(app, run);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitCode::Done : ExitCode::Usage; // --help and --version come this way too
    }
    try {
        return RunCommand(run, isVerbose);
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

#include "cli/commands.h"
#include "cli/config_command.h"
#include "cli/failure.h"
#include "cli/log_tail.h"
#include "cli/report.h"
#include "cli/stop_signals.h"
#include "disklib/zav_storage_disk_lib.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <future>
#include <iostream>
#include <thread>

// zavctl: prepares, watches and cleans up this node on storage arrays, and asks arrays and clusters what they are.

namespace {

constexpr const char* CONSOLE_LEVEL = "PRODUCT_STORAGE_LOG_CONSOLE";

ExitCode RunCommand(const Run& run, bool isVerbose)
{
    if (isVerbose) {
        setenv(CONSOLE_LEVEL, "1", 1);
    }
    RequireSoundConfiguration();
    StopSignals stopSignals;
    LogTail log(std::getenv(CONSOLE_LEVEL) != nullptr);
    try {
        return run(log, stopSignals);
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

// Whether the library's thread ended within a second; it may be in the middle of a logout that nobody answers.
bool EndCheckThread()
{
    std::promise<void> ended;
    const std::future<void> end = ended.get_future();
    std::thread([done = std::move(ended)]() mutable {
        try {
            ZavStorageDiskLib::GetInstance()->StopCheckThread();
        } catch (const std::exception& error) {
            Report::Step(std::string("the session check does not stop: ") + error.what());
        }
        done.set_value();
    }).detach();
    return end.wait_for(std::chrono::seconds(1)) == std::future_status::ready;
}

} // namespace

int main(int argc, char** argv)
{
    const ExitCode code = Main(argc, argv);
    if (!EndCheckThread()) {
        std::cout << std::flush;
        ::_exit(static_cast<int>(code)); // what is static must not be destroyed under a thread that runs
    }
    return static_cast<int>(code);
}

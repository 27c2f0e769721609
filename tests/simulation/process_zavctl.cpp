// zavctl in a process of the simulated node: its commands are the real ones; signals, log file and configuration are
// not there.

#include "tests/simulation/process.h"

#include "cli/commands/commands.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "disklib/zav_storage_disk_lib.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <exception>

// Signals: the world says when one comes, and only while a command waits for it.

StopSignals::StopSignals(std::optional<std::chrono::seconds> limit)
    : m_limit(limit)
{
}

StopSignals::~StopSignals() = default;

void StopSignals::EndByItself() {}

bool StopSignals::WaitFor(const boost::chrono::seconds& duration)
{
    const auto wait = std::chrono::nanoseconds(std::chrono::seconds(duration.count()));
    const bool isStopped = Simulation::Process::Ask({"wait", std::to_string(wait.count())})[0] == "stop";
    ZavStorageDiskLib::GetInstance()->DoCheck(); // which its thread does once a second
    return isStopped;
}

struct LogTail::Ear {};

LogTail::LogTail(bool /*isShownAlready*/) {}

LogTail::~LogTail() = default;

std::vector<LogTail::Line> LogTail::Take()
{
    return {};
}

void LogTail::PrintFailures() {}

namespace Simulation {

int RunZavctl(const std::vector<std::string>& arguments)
{
    CLI::App app("", "zavctl");
    app.require_subcommand(1);
    Run run;
    AddInitCommand(app, run);
    AddCleanupCommand(app, run);
    AddTidyCommand(app, run);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        StopSignals signals;
        LogTail log(false);
        return static_cast<int>(run(log, signals));
    } catch (const Failure& failure) {
        Report::Step(failure.what());
        return static_cast<int>(failure.Code());
    } catch (const std::exception& error) {
        Report::Step(std::string("internal error: ") + error.what());
        return static_cast<int>(ExitCode::OurFault);
    }
}

} // namespace Simulation

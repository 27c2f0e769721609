#include "base/files.h"
#include "cli/commands/commands.h"
#include "cli/commands/completion_command.h"
#include "cli/commands/config_command.h"
#include "cli/commands/options.h"
#include "cli/console/explanation.h"
#include "cli/console/failure.h"
#include "cli/console/json_answer.h"
#include "cli/console/log_tail.h"
#include "cli/console/remedies.h"
#include "cli/console/report.h"
#include "cli/console/stop_signals.h"
#include "cli/console/within.h"
#include "cli/nearest_name.h"
#include "disklib/zav_storage_disk_lib.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

// zavctl: prepares, watches and cleans up this node on storage arrays, and asks arrays and clusters what they are.

namespace {

constexpr const char* CONSOLE_LEVEL = "PRODUCT_STORAGE_LOG_CONSOLE";
constexpr auto ENDED_BY_BROKEN_PIPE = static_cast<ExitCode>(128 + SIGPIPE); // as shells know it

/// How the command was asked to tell what it does.
struct Telling {
    int verbosity = 0;   ///< 1: the library's steps; 2: all of its lines
    bool isJson = false; ///< failures go to standard output, too
    bool needsConfiguration = true;
    std::optional<unsigned int> limitSeconds;
    bool isQuiet = false; ///< tells nothing but what nobody may miss
};

// The last two lines of a command that failed: why, and what to do.
ExitCode TellFailure(const Failure& failure, LogTail& log, bool isJson)
{
    const Explanation explanation = Explain(failure, log.Take());
    Tell(explanation);
    if (isJson) {
        Json::Value answer;
        answer["schema"] = Report::SCHEMA;
        answer["error"] = ToJson(explanation);
        Report::Json(answer);
    }
    return explanation.exit;
}

ExitCode RunCommand(const Run& run, const Telling& telling)
{
    if (telling.verbosity > 0) {
        setenv(CONSOLE_LEVEL, telling.verbosity > 1 ? "1" : "2", 1);
    }
    if (telling.isQuiet) {
        Report::BeQuiet();
    }
    if (telling.isJson) {
        JsonAnswer::Expect();
    }
    std::optional<LogTail> log; // behind the stop signals: it may start no thread of its own before them
    try {
        if (telling.needsConfiguration) {
            RequireSoundConfiguration();
        }
        StopSignals stopSignals(telling.limitSeconds ? std::optional(std::chrono::seconds(*telling.limitSeconds))
                                                     : std::nullopt);
        const Report::RunningTime time;
        log.emplace(std::getenv(CONSOLE_LEVEL) != nullptr);
        const ExitCode code = run(*log, stopSignals);
        Report::RequireWrittenOutput();
        return code;
    } catch (const Report::NoReader&) {
        return ENDED_BY_BROKEN_PIPE;
    } catch (const Failure& failure) {
        if (!log) {
            log.emplace(true);
        }
        return TellFailure(failure, *log, telling.isJson);
    }
}

// Whether the command that was called was asked for JSON.
bool WantsJson(const CLI::App& app)
{
    for (const CLI::App* const command : app.get_subcommands()) {
        const CLI::Option* const format = command->get_option_no_throw(Options::FORMAT);
        if (format != nullptr && format->count() != 0 && format->as<Report::Format>() == Report::Format::Json) {
            return true;
        }
    }
    return false;
}

void TellRemedy(ExitCode code)
{
    Report::Tell("remedy: " + RemedyFor({}, code), Report::Look::Remedy);
}

// True, after a hint, when the first word that is no option names no command. Once a command was found, that word may
// be the value of an option before it, and something else is wrong.
bool TellUnknownCommand(const CLI::App& app, int argc, char** argv)
{
    if (!app.get_subcommands().empty()) {
        return false;
    }
    std::vector<std::string> names;
    for (const CLI::App* const command : app.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    const auto* const end = argv + argc;
    const auto* const word = std::find_if(argv + 1, argv + argc, [](const char* each) { return each[0] != '-'; });
    if (word == end || std::find(names.begin(), names.end(), *word) != names.end()) {
        return false;
    }
    const std::string nearest = NearestName(*word, names);
    Report::Tell("no command " + std::string(*word) + ": " +
                 (nearest.empty() ? "zavctl --help tells which there are" : "did you mean " + nearest + "?"));
    TellRemedy(ExitCode::Usage);
    return true;
}

void AddCommands(CLI::App& app, Run& run)
{
    AddInitCommand(app, run);
    AddPlanCommand(app, run);
    AddStatusCommand(app, run);
    AddCheckCommand(app, run);
    AddDoctorCommand(app, run);
    AddInventoryCommand(app, run);
    AddListCommands(app, run);
    AddNodeCommand(app, run);
    AddVersionCommand(app, run);
    AddCleanupCommand(app, run);
    AddOrphansCommand(app, run);
    AddTidyCommand(app, run);
    AddClusterCommand(app, run);
    AddEnvCommand(app, run);
    AddPasswordCommand(app, run);
    AddConfigCommand(app, run);
    AddCompletionCommand(app, run);
    for (CLI::App* const command : app.get_subcommands({})) {
        command->fallthrough(); // what stands before the command may stand behind it
        for (CLI::App* const part : command->get_subcommands({})) {
            part->fallthrough();
        }
    }
}

ExitCode Main(int argc, char** argv)
{
    CLI::App app("Prepares this node for block access to storage arrays, and asks storage what it is", "zavctl");
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("zavctl ") + PRODUCT_STORAGE_VERSION);
    Telling telling;
    app.add_flag("-v,--verbose", telling.verbosity,
                 "Show what the library does on standard error; twice: all of its log lines");
    app.add_flag("-q,--quiet", telling.isQuiet, "Tell nothing but failures and warnings on standard error");
    app.add_option("--timeout", telling.limitSeconds, "End the command after so long, wherever it is")
        ->option_text("SECONDS")
        ->check(CLI::Range(1U, 86400U));
    Run run;
    AddCommands(app, run);
    Options::AddExamples(app, {"zavctl env new --address 10.20.0.1 --user admin >env.json",
                               "zavctl init --env env.json", "zavctl inventory --env env.json"});
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (TellUnknownCommand(app, argc, argv)) {
            return ExitCode::Usage;
        }
        if (error.get_exit_code() != 0) {
            Report::Tell(error.what(), Report::Look::Cause);
            TellRemedy(ExitCode::Usage);
            return ExitCode::Usage;
        }
        app.exit(error); // --help and --version come this way
        return ExitCode::Done;
    }
    telling.isJson = WantsJson(app);
    telling.needsConfiguration = !app.got_subcommand(CONFIG_COMMAND) && !app.got_subcommand(COMPLETION_COMMAND);
    return RunCommand(run, telling);
}

// Whether the library's thread ended within a second; it may be in the middle of a logout that nobody answers.
bool EndCheckThread()
{
    return EndsWithin(std::chrono::seconds(1), [] {
        try {
            ZavStorageDiskLib::GetInstance()->StopCheckThread();
        } catch (const std::exception& error) {
            Report::Tell(std::string("the session check does not stop: ") + error.what());
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a reader that goes away must not keep the command from logging out
    std::signal(SIGCHLD, SIG_DFL); // ignored from the start, it would take away how the programs that it runs ended
    ExitCode code = ExitCode::OurFault;
    try {
        code = Main(argc, argv);
    } catch (const std::exception& error) { // before anything was begun, or in the telling of what went wrong
        Base::WriteWhole(STDERR_FILENO, "zavctl: internal error: ");
        Base::WriteWhole(STDERR_FILENO, error.what());
        Base::WriteWhole(STDERR_FILENO, "\nzavctl: remedy: report it, with the output of the same command under -vv\n");
    }
    if (!EndCheckThread() || DoesAnyGoOn()) {
        std::cout << std::flush;
        ::_exit(static_cast<int>(code)); // what is static must not be destroyed under a thread that runs
    }
    return static_cast<int>(code);
}

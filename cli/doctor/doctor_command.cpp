#include "cli/commands/commands.h"

#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/console/explanation.h"
#include "cli/console/failure.h"
#include "cli/console/farewell.h"
#include "cli/console/report.h"
#include "cli/console/within.h"
#include "cli/doctor/bundle.h"
#include "cli/doctor/probes.h"
#include "cli/doctor/report_json.h"
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
#include "framework/public/running_commands.h"
#endif

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Doctor::Finding;
using Doctor::Severity;
using Doctor::Told;

constexpr std::chrono::milliseconds TIME_TO_WAIT{4700}; // of a probe for another; less than a probe may take
constexpr std::chrono::milliseconds TIME_TO_LEAVE{700}; // for a logout that nobody answers
constexpr std::chrono::milliseconds GRACE_OF_QUESTIONS{100};

struct DoctorOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
    std::string bundlePath; ///< empty: none is made
    bool mayOverwrite = false;
};

void Print(const Told& told)
{
    const Finding& finding = told.finding;
    const bool isError = finding.severity == Severity::Error;
    Report::Print("", std::string(Doctor::WordOf(finding.severity)) + ": " + finding.seen,
                  isError ? Report::Look::Cause : Report::Look::Warning);
    if (!finding.remedy.empty()) {
        Report::Print("  ", finding.remedy);
    }
    if (!finding.command.empty()) {
        Report::Print("  $ ", finding.command, Report::Look::Remedy);
    }
}

// `unpacked`: why there is no bundle.
void PrintAll(const std::vector<Told>& all, const DoctorOptions& options, const std::optional<Explanation>& unpacked)
{
    if (options.format == Report::Format::Json) {
        Json::Value answer = Doctor::ToJson(all);
        if (unpacked) {
            answer["error"] = ToJson(*unpacked);
            answer["exit"] = static_cast<int>(unpacked->exit);
        }
        Report::Json(answer);
        return;
    }
    if (all.empty()) {
        Report::Print("", options.environmentPath.empty() ? "all well on this node; --env names an array to look at"
                                                          : "all well");
    }
    for (const Told& told : all) {
        Print(told);
    }
}

/// At its end: probes that did not come to theirs leave sessions and commands behind, which nobody else would end.
class LeavingNothingBehind {
public:
    explicit LeavingNothingBehind(std::shared_ptr<const Doctor::Patient> patient)
        : m_patient(std::move(patient))
    {
    }
    LeavingNothingBehind(const LeavingNothingBehind&) = delete;
    LeavingNothingBehind& operator=(const LeavingNothingBehind&) = delete;
    ~LeavingNothingBehind()
    {
        if (DoesAnyGoOn()) {
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
            OpenFramework::EndRunningCommands(GRACE_OF_QUESTIONS);
#endif
            Farewell::SayAll(TIME_TO_LEAVE);
            // Behind the farewell nobody may destroy a login any more: one holder stays, within reach, to the end.
            // Volatile, because nobody reads it.
            [[maybe_unused]] static const std::shared_ptr<const Doctor::Patient>* volatile kept = nullptr;
            kept = std::make_unique<const std::shared_ptr<const Doctor::Patient>>(m_patient).release();
        }
    }

private:
    const std::shared_ptr<const Doctor::Patient> m_patient;
};

std::shared_ptr<const Doctor::Patient> MakePatient(const DoctorOptions& options)
{
    const auto deadline = Doctor::Logins::Clock::now() + TIME_TO_WAIT;
    std::string text;
    EnvironmentPath env;
    if (!options.environmentPath.empty()) {
        text = ReadEnvironmentText(options.environmentPath);
        if (!ParseEnvironment(text, env).empty()) { // which a probe tells
            env.Clear();
        }
    }
    return std::make_shared<const Doctor::Patient>(options.environmentPath, text, env, deadline);
}

// What was found is told all the same where there can be no bundle.
std::optional<Explanation> Pack(const DoctorOptions& options, const Doctor::Patient& patient,
                                const std::vector<Told>& all)
{
    try {
        Doctor::Bundle::Write(options.bundlePath, options.mayOverwrite, patient, all);
        return std::nullopt;
    } catch (const Failure& failure) {
        return Explain(failure, {});
    }
}

ExitCode RunDoctor(const DoctorOptions& options)
{
    Report::BeQuiet(); // what is done on the way is nobody's business
    const bool isBundled = !options.bundlePath.empty();
    if (isBundled) {
        Doctor::Bundle::RequirePlace(options.bundlePath, options.mayOverwrite);
    }
    const std::shared_ptr<const Doctor::Patient> patient = MakePatient(options);
    const LeavingNothingBehind leaving(patient);
    const std::vector<Told> all = Doctor::Examine(patient);
    const std::optional<Explanation> unpacked = isBundled ? Pack(options, *patient, all) : std::nullopt;
    PrintAll(all, options, unpacked);
    if (unpacked) {
        Tell(*unpacked);
        return unpacked->exit;
    }
    if (isBundled) {
        Report::Tell("packed into " + options.bundlePath + ", without passwords, keys, tokens and cookies");
    }
    return Doctor::ExitCodeOf(all);
}

} // namespace

void AddDoctorCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<DoctorOptions>();
    CLI::App* const command = app.add_subcommand(
        "doctor", "Look at both ends for what is wrong, and name the command that mends it; changes nothing");
    Options::AddEnvironment(*command, options->environmentPath);
    Options::AddFormat(*command, options->format);
    CLI::Option* const bundle =
        command->add_option("--bundle", options->bundlePath, "Pack what support needs into a compressed archive");
    bundle->option_text("FILE")->check(Options::RefuseEmpty);
    command->add_flag("--overwrite", options->mayOverwrite, "Replace that file where it is there already")
        ->needs(bundle);
    Options::AddExamples(
        *command, {"zavctl doctor --env env.json", "zavctl doctor --env env.json --bundle case.tar.gz --overwrite"});
    command->callback([options, &run] {
        if (!options->environmentPath.empty() || std::getenv(Options::ENVIRONMENT_VARIABLE) != nullptr) {
            Options::CompleteEnvironment(options->environmentPath);
        }
        run = [options](LogTail& /*log*/, StopSignals& /*stopSignals*/) { return RunDoctor(*options); };
    });
}

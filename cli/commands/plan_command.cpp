#include "cli/commands/commands.h"

#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/console/explanation.h"
#include "cli/plan/init_plan.h"

#include <memory>
#include <string>
#include <vector>

namespace {

struct PlanOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
    bool adoptsNothing = false;
};

// "host 1 (its name) into host group (new)", "HOSTID = 1".
std::string NamingOf(const PlanStep& step)
{
    if (step.place == PlanStep::Place::Record) {
        return step.id + (step.name.empty() ? "" : " = " + step.name);
    }
    const bool isPortal = step.place == PlanStep::Place::Node;
    return step.kind + (isPortal ? " with " : " ") + step.id + (step.name.empty() ? "" : " (" + step.name + ")") +
           (step.into.empty() ? "" : " into " + step.into + " " + step.intoId);
}

Report::Look LookOf(const PlanStep& step)
{
    switch (step.action) {
    case PlanStep::Action::Make:
    case PlanStep::Action::Join:
    case PlanStep::Action::Enter:
        return Report::Look::Remedy;
    case PlanStep::Action::Mend:
    case PlanStep::Action::Adopt:
        return Report::Look::Warning;
    case PlanStep::Action::Forget:
    case PlanStep::Action::Remove:
        return Report::Look::Cause;
    case PlanStep::Action::Reuse:
    case PlanStep::Action::Leave:
        break;
    }
    return Report::Look::Plain;
}

void PrintTable(const InitPlan& plan)
{
    std::vector<Report::Row> rows = {{"WHERE", "ACTION", "WHAT", "WHY"}};
    std::vector<Report::Look> looks = {Report::Look::Plain};
    for (const PlanStep& step : plan.steps) {
        rows.push_back({WordOf(step.place), WordOf(step.action), NamingOf(step), step.why});
        looks.push_back(LookOf(step));
    }
    Report::Table(rows, looks);
}

Json::Value ToJson(const PlanStep& step)
{
    Json::Value value;
    value["where"] = WordOf(step.place);
    value["action"] = WordOf(step.action);
    value["changes"] = step.Changes();
    value["kind"] = step.kind;
    value["id"] = step.id;
    const auto enter = [&value](const char* name, const std::string& text) {
        if (!text.empty()) {
            value[name] = text;
        }
    };
    enter("name", step.name);
    enter("into", step.into);
    enter("into_id", step.intoId);
    enter("why", step.why);
    return value;
}

Json::Value ToJson(const InitPlan& plan)
{
    Json::Value answer;
    answer["schema"] = Report::SCHEMA;
    answer["changes"] = plan.ChangesAnything();
    answer["steps"] = Json::Value(Json::arrayValue);
    for (const PlanStep& step : plan.steps) {
        answer["steps"].append(ToJson(step));
    }
    if (plan.end) {
        answer["error"] = ToJson(Explain(*plan.end, {}));
    }
    return answer;
}

ExitCode Answer(const InitPlan& plan, Report::Format format)
{
    if (format == Report::Format::Json) {
        Report::Json(ToJson(plan));
    } else {
        PrintTable(plan);
    }
    if (plan.end) {
        const Explanation explanation = Explain(*plan.end, {});
        Tell(explanation, "behind these steps: ");
        return explanation.exit;
    }
    if (plan.ChangesAnything()) {
        Report::Step("nothing was changed; zavctl init does this");
        return ExitCode::WouldChange;
    }
    Report::Step("zavctl init would change nothing");
    return ExitCode::Done;
}

ExitCode RunPlan(const PlanOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    return Answer(PlanInit(login, !options.adoptsNothing), options.format);
}

} // namespace

void AddPlanCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<PlanOptions>();
    CLI::App* const command = app.add_subcommand(
        "plan", "Show what init would do on an array and on this node, and change nothing; ends with 11 where it is "
                "anything");
    Options::AddEnvironment(*command, options->environmentPath);
    Options::AddFormat(*command, options->format);
    command->add_flag("--no-adopt", options->adoptsNothing, "As init would with this option");
    Options::AddExamples(*command, {"zavctl plan --env env.json || echo something to do",
                                    "zavctl plan --env env.json -o json >plan.json || jq .steps plan.json"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunPlan(*options); };
    });
}

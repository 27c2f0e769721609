#include "cli/doctor/report_json.h"

#include "cli/console/report.h"

namespace Doctor {

namespace {

Json::Value FindingToJson(const Told& told)
{
    const Finding& finding = told.finding;
    Json::Value value;
    value["probe"] = told.probe;
    value["severity"] = WordOf(finding.severity);
    value["seen"] = finding.seen;
    value["remedy"] = finding.remedy;
    if (!finding.command.empty()) {
        value["command"] = finding.command;
    }
    value["exit"] = static_cast<int>(finding.exit);
    return value;
}

} // namespace

const char* WordOf(Severity severity)
{
    return severity == Severity::Error ? "error" : "warning";
}

ExitCode ExitCodeOf(const std::vector<Told>& all)
{
    if (all.empty()) {
        return ExitCode::Done;
    }
    return all.front().finding.severity == Severity::Error ? all.front().finding.exit : ExitCode::Partly;
}

Json::Value ToJson(const std::vector<Told>& all)
{
    Json::Value answer;
    answer["schema"] = Report::SCHEMA;
    answer["well"] = all.empty();
    answer["findings"] = Json::Value(Json::arrayValue);
    for (const Told& told : all) {
        answer["findings"].append(FindingToJson(told));
    }
    answer["exit"] = static_cast<int>(ExitCodeOf(all));
    return answer;
}

} // namespace Doctor

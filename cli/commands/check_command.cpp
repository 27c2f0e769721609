#include "cli/commands/commands.h"

#include "cli/array/array_login.h"
#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/console/report.h"
#include "cli/picture/drift.h"
#include "cli/picture/node_look.h"
#include "cli/picture/picture_output.h"
#include "cli/record/device_record.h"
#include "cli/record/record_diff.h"

#include <memory>
#include <string>
#include <vector>

namespace {

struct CheckOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
    bool showsDiff = false;
};

// As diff -u prints two files.
void PrintDiff(const std::vector<DiffLine>& lines, const ArrayLogin& login)
{
    Report::Print("--- ", DeviceRecord(login.DeviceId()).Path());
    Report::Print("+++ ", login.Device().url);
    for (const DiffLine& line : lines) {
        const bool isRecords = line.side == DiffLine::Side::Record;
        Report::Print("",
                      (line.side == DiffLine::Side::Both ? " "
                       : isRecords                       ? "-"
                                                         : "+") +
                          line.text,
                      line.side == DiffLine::Side::Both ? Report::Look::Plain
                      : isRecords                       ? Report::Look::Cause
                                                        : Report::Look::Remedy);
    }
}

Json::Value DiffToJson(const std::vector<DiffLine>& lines)
{
    Json::Value list(Json::arrayValue);
    for (const DiffLine& line : lines) {
        Json::Value& value = list.append(Json::Value());
        value["side"] = line.side == DiffLine::Side::Both     ? "both"
                        : line.side == DiffLine::Side::Record ? "record"
                                                              : "array";
        value["text"] = line.text;
    }
    return list;
}

ExitCode RunCheck(const CheckOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const NodePicture picture = LookAtNode(login);
    const std::vector<DiffLine> diff = options.showsDiff ? RecordAgainstArray(login) : std::vector<DiffLine>();
    if (options.format == Report::Format::Json) {
        Json::Value answer = PictureOutput::ToJson(picture);
        answer.removeMember("node");
        if (options.showsDiff) {
            answer["diff"] = DiffToJson(diff);
        }
        return AnswerInJson(answer, picture, login);
    }
    if (options.showsDiff) {
        PrintDiff(diff, login);
    }
    if (!picture.faults.empty()) {
        throw DriftOf(picture, login);
    }
    Report::Step("this node is prepared on " + login.Device().url);
    return ExitCode::Done;
}

} // namespace

void AddCheckCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* const command =
        app.add_subcommand("check", "See whether this node still stands prepared on an array, and change nothing");
    Options::AddEnvironment(*command, options->environmentPath);
    Options::AddFormat(*command, options->format);
    command->add_flag("--diff", options->showsDiff,
                      "Show the record against the array, line by line: - what the record says, + what the array does");
    Options::AddExamples(*command, {"zavctl check --env env.json", "zavctl check --diff --env env.json",
                                    "zavctl check -o json --env env.json | jq .faults"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunCheck(*options); };
    });
}

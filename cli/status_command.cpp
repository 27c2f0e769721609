#include "cli/commands.h"

#include "cli/array_login.h"
#include "cli/device_record.h"
#include "cli/environment_file.h"
#include "cli/explanation.h"
#include "cli/failure.h"
#include "cli/node_look.h"
#include "cli/options.h"
#include "cli/picture_output.h"
#include "cli/record_diff.h"
#include "cli/report.h"

#include <boost/algorithm/string/join.hpp>

#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using Form = PictureOutput::Form;

struct StatusOptions {
    std::string environmentPath;
    Form form = Form::Table;
};

struct CheckOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
    bool showsDiff = false;
};

void Print(const NodePicture& picture, Form form)
{
    switch (form) {
    case Form::Table:
    case Form::Wide:
        PictureOutput::PrintTree(picture, form == Form::Wide);
        break;
    case Form::Json: // see Answer
        break;
    case Form::Dot:
        std::cout << PictureOutput::ToDot(picture) << std::flush;
        break;
    case Form::Svg:
        std::cout << PictureOutput::ToSvg(picture) << std::flush;
        break;
    case Form::Html:
        std::cout << PictureOutput::ToHtml(picture) << std::flush;
        break;
    }
}

Failure DriftOf(const NodePicture& picture, const ArrayLogin& login)
{
    return {ExitCode::Drift,
            login.Device().url + ": this node is not rightly prepared: " + boost::join(picture.faults, "; ")};
}

// One answer for scripts, with the failure in it; for people the failure is told as any is.
ExitCode Answer(Json::Value answer, const NodePicture& picture, const ArrayLogin& login)
{
    if (picture.faults.empty()) {
        Report::Json(answer);
        return ExitCode::Done;
    }
    const Explanation explanation = Explain(DriftOf(picture, login), {});
    answer["error"] = ToJson(explanation);
    Report::Json(answer);
    Tell(explanation);
    return explanation.exit;
}

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

ExitCode RunStatus(const StatusOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const NodePicture picture = LookAtNode(login);
    if (options.form == Form::Json) {
        return Answer(PictureOutput::ToJson(picture), picture, login);
    }
    Print(picture, options.form);
    if (!picture.faults.empty()) {
        throw DriftOf(picture, login);
    }
    return ExitCode::Done;
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
        return Answer(answer, picture, login);
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

void AddStatusCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<StatusOptions>();
    CLI::App* const command = app.add_subcommand(
        "status",
        "Show how this node hangs on an array, from its initiators to the LUNs; ends with 10 where it does not");
    Options::AddEnvironment(*command, options->environmentPath);
    const std::map<std::string, Form> forms = {{"table", Form::Table}, {"wide", Form::Wide}, {"json", Form::Json},
                                               {"dot", Form::Dot},     {"svg", Form::Svg},   {"html", Form::Html}};
    command->add_option(std::string("-o,") + Options::FORMAT, options->form, "How to print it (table)")
        ->transform(CLI::CheckedTransformer(forms, CLI::ignore_case).description(""))
        ->option_text("table|wide|json|dot|svg|html");
    Options::AddExamples(*command, {"zavctl status --env env.json", "zavctl status --env env.json -o wide",
                                    "zavctl status --env env.json -o html >node.html"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunStatus(*options); };
    });
}

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

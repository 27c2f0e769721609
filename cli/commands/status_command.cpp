#include "cli/commands/commands.h"

#include "cli/array/array_login.h"
#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/picture/drift.h"
#include "cli/picture/node_look.h"
#include "cli/picture/picture_output.h"

#include <iostream>
#include <map>
#include <memory>
#include <string>

namespace {

using Form = PictureOutput::Form;

struct StatusOptions {
    std::string environmentPath;
    Form form = Form::Table;
};

void Print(const NodePicture& picture, Form form)
{
    switch (form) {
    case Form::Table:
    case Form::Wide:
        PictureOutput::PrintTree(picture, form == Form::Wide);
        break;
    case Form::Json: // see AnswerInJson
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

ExitCode RunStatus(const StatusOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const NodePicture picture = LookAtNode(login);
    if (options.form == Form::Json) {
        return AnswerInJson(PictureOutput::ToJson(picture), picture, login);
    }
    Print(picture, options.form);
    if (!picture.faults.empty()) {
        throw DriftOf(picture, login);
    }
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

#include "cli/completion/completion.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

namespace Completion {

namespace {

std::string FirstClause(const std::string& description)
{
    return description.substr(0, description.find(';'));
}

// "FILE" and "table|json REQUIRED" are what the help shows of a value.
Value ValueOf(const CLI::Option& option)
{
    Value value;
    if (option.get_items_expected_max() == 0) {
        return value;
    }
    const std::string& shown = option.get_option_text();
    value.title = shown.substr(0, shown.find(' '));
    if (value.title.find('|') != std::string::npos) {
        value.kind = Value::Kind::Choice;
        boost::split(value.choices, value.title, boost::is_any_of("|"));
        return value;
    }
    if (option.get_positional()) {
        value.title = option.get_name(true);
    } else if (value.title.empty() || value.title == "REQUIRED") {
        value.title = "TEXT";
    }
    value.kind = value.title == "FILE" ? Value::Kind::File : Value::Kind::Text;
    return value;
}

bool IsRepeatable(const CLI::Option& option)
{
    const bool isCounted = option.get_multi_option_policy() != CLI::MultiOptionPolicy::Throw &&
                           option.get_multi_option_policy() != CLI::MultiOptionPolicy::TakeLast;
    return isCounted || option.get_expected_max() > 1;
}

void AddOptions(const CLI::App& app, Command& command)
{
    for (const CLI::Option* const each : app.get_options()) {
        if (each->get_group().empty()) { // hidden
            continue;
        }
        if (each->get_positional()) {
            command.places.push_back(ValueOf(*each));
            continue;
        }
        Option option = {{}, FirstClause(each->get_description()), ValueOf(*each), IsRepeatable(*each)};
        for (const std::string& name : each->get_snames()) {
            option.names.push_back("-" + name);
        }
        for (const std::string& name : each->get_lnames()) {
            option.names.push_back("--" + name);
        }
        command.options.push_back(option);
    }
}

bool HasOption(const Command& command, const Option& option)
{
    for (const Option& each : command.options) {
        if (each.names.back() == option.names.back()) {
            return true;
        }
    }
    return false;
}

Command ReadBelow(const CLI::App& app, const Command* above)
{
    Command command;
    if (above != nullptr) {
        command.name = app.get_name();
        command.path = above->path + (above->path.empty() ? "" : " ") + command.name;
    }
    command.description = FirstClause(app.get_description());
    AddOptions(app, command);
    if (above != nullptr && app.get_fallthrough()) {
        for (const Option& option : above->options) {
            if (!HasOption(command, option)) {
                command.options.push_back(option);
            }
        }
    }
    for (const CLI::App* const part :
         app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
        command.parts.push_back(ReadBelow(*part, &command));
    }
    return command;
}

} // namespace

Command Read(const CLI::App& app)
{
    return ReadBelow(app, nullptr);
}

std::vector<const Command*> All(const Command& command)
{
    std::vector<const Command*> all = {&command};
    for (const Command& part : command.parts) {
        const std::vector<const Command*> below = All(part);
        all.insert(all.end(), below.begin(), below.end());
    }
    return all;
}

} // namespace Completion

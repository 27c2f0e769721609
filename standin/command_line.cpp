#include "standin/command_line.h"

namespace ZavSimNode {

namespace {

struct Pattern {
    Action action;
    std::vector<std::string> words; ///< "<portal>" and "<target>" stand for any word
};

const std::vector<Pattern>& Patterns()
{
    static const std::vector<Pattern> PATTERNS{
        {Action::Discover, {"-m", "discovery", "--op=new", "-t", "st", "-p", "<portal>"}},
        {Action::Login, {"-m", "node", "-p", "<portal>", "-l"}},
        {Action::List, {"-m", "session", "-P", "1"}},
        {Action::ListBriefly, {"-m", "session"}},
        {Action::Logout, {"-m", "node", "-u"}},
        {Action::LogoutOne, {"-m", "node", "-T", "<target>", "-p", "<portal>", "-u"}},
        {Action::Delete, {"-m", "node", "-T", "<target>", "-p", "<portal>", "-o", "delete"}},
        {Action::TellVersion, {"--version"}},
    };
    return PATTERNS;
}

bool Matches(const Pattern& pattern, const std::vector<std::string>& words, Command& command)
{
    if (pattern.words.size() != words.size()) {
        return false;
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (pattern.words[i] == "<portal>") {
            command.portal = words[i];
        } else if (pattern.words[i] == "<target>") {
            command.target = words[i];
        } else if (pattern.words[i] != words[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

Command ParseCommand(const std::vector<std::string>& words)
{
    for (const Pattern& pattern : Patterns()) {
        Command command;
        if (Matches(pattern, words, command)) {
            command.action = pattern.action;
            return command;
        }
    }
    return {};
}

} // namespace ZavSimNode

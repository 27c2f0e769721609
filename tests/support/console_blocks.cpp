#include "tests/support/console_blocks.h"

#include <fstream>
#include <stdexcept>

namespace ConsoleBlocks {

namespace {

const std::string FENCE = "```";
const std::string PROMPT = "$ ";
const std::string MARKER = "=== end of a step ===";

bool BeginsWith(const std::string& line, const std::string& text)
{
    return line.compare(0, text.size(), text) == 0;
}

} // namespace

std::vector<std::string> Lines(const std::string& page)
{
    std::ifstream file(page);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    if (lines.empty()) {
        throw std::runtime_error("nothing to read in " + page);
    }
    return lines;
}

std::string Block(const std::string& page, const std::string& kind)
{
    std::string block;
    bool isInside = false;
    for (const std::string& line : Lines(page)) {
        if (isInside && BeginsWith(line, FENCE)) {
            return block;
        }
        if (isInside) {
            block += line + "\n";
        }
        isInside = isInside || line == FENCE + kind;
    }
    throw std::runtime_error("no block of " + kind + " in " + page);
}

Session ReadSession(const std::string& page)
{
    Session session;
    const std::string endOfStep = MARKER + "\n";
    bool isInside = false;
    for (const std::string& line : Lines(page)) {
        if (BeginsWith(line, FENCE)) {
            isInside = line == FENCE + "console";
        } else if (isInside && BeginsWith(line, PROMPT)) {
            session.script += line.substr(PROMPT.size()) + "\necho '" + MARKER + "'\n";
            session.output += session.commands > 0 ? endOfStep : "";
            ++session.commands;
        } else if (isInside) {
            session.output += line + "\n";
        }
    }
    session.output += endOfStep;
    return session;
}

} // namespace ConsoleBlocks

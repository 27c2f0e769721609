#include "cli/console/consent.h"

#include "cli/console/report.h"

#include <unistd.h>

#include <iostream>

namespace Consent {

bool CanBeAsked()
{
    return ::isatty(STDIN_FILENO) != 0;
}

bool Give(const std::string& question)
{
    const Report::OwnLine line;
    std::cerr << "zavctl: " << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "yes";
}

std::optional<std::string> Ask(const std::string& question)
{
    std::cerr << question << ": " << std::flush;
    std::string answer;
    return std::getline(std::cin, answer) ? std::optional(answer) : std::nullopt;
}

} // namespace Consent

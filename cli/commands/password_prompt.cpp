#include "cli/commands/password_prompt.h"

#include "base/secret.h"
#include "cli/console/failure.h"
#include "cli/console/farewell.h"
#include "cli/console/report.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>

namespace {

/// Keeps a terminal from showing what is typed, while it lives.
class HiddenInput {
public:
    HiddenInput()
    {
        tcgetattr(STDIN_FILENO, &m_settings);
        termios hidden = m_settings;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    HiddenInput(const HiddenInput&) = delete;
    HiddenInput& operator=(const HiddenInput&) = delete;
    ~HiddenInput() { Restore(); }

private:
    void Restore() const { tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_settings); }

    termios m_settings = {};
    const Farewell m_farewell{[this] { Restore(); }};
};

// One line byte by byte, so that no stream's buffer keeps a copy of it. False at the end of the input without any.
bool ReadLine(std::string& line)
{
    constexpr std::size_t LONGEST = 4096;
    line.reserve(LONGEST); // the buffer never moves and leaves no copy behind
    char character = 0;
    while (read(STDIN_FILENO, &character, 1) == 1) {
        if (character == '\n') {
            return true;
        }
        if (line.size() == LONGEST) {
            throw Failure(ExitCode::Unusable, "password: longer than 4096 bytes");
        }
        line += character;
    }
    return !line.empty();
}

} // namespace

void ReadPassword(const std::string& prompt, std::string& password)
{
    Secret::Wipe(password);
    bool isRead = false;
    if (isatty(STDIN_FILENO) == 1) {
        const Report::OwnLine line;
        const HiddenInput hidden;
        std::cerr << prompt << ": " << std::flush;
        isRead = ReadLine(password);
        std::cerr << std::endl;
    } else {
        isRead = ReadLine(password);
    }
    if (!isRead || password.empty()) {
        throw Failure(ExitCode::Unusable, "password: none was given on standard input");
    }
}

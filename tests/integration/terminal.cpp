#include "tests/integration/terminal.h"

#include "tests/support/process.h"

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

Terminal::Terminal()
{
    std::array<char, 128> path = {};
    if (openpty(&m_person, &m_program, nullptr, nullptr, nullptr) != 0 ||
        ttyname_r(m_program, path.data(), path.size()) != 0) {
        throw std::system_error(errno, std::generic_category(), "no terminal");
    }
    fcntl(m_person, F_SETFL, O_NONBLOCK);
    fcntl(m_person, F_SETFD, FD_CLOEXEC);
    fcntl(m_program, F_SETFD, FD_CLOEXEC);
    m_path = path.data();
}

Terminal::~Terminal()
{
    close(m_program);
    close(m_person);
}

void Terminal::WaitFor(const std::string& text)
{
    try {
        WaitUntil("the terminal to show " + text, [&] { return Shown().find(text) != std::string::npos; });
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(error.what() + std::string("; it shows ") + m_shown);
    }
}

void Terminal::Type(const std::string& text) const
{
    if (write(m_person, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::system_error(errno, std::generic_category(), "typing");
    }
}

std::string Terminal::Shown()
{
    std::array<char, 4096> bytes;
    for (ssize_t count = 0; (count = read(m_person, bytes.data(), bytes.size())) > 0;) {
        m_shown.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return m_shown;
}

bool Terminal::IsEchoing() const
{
    termios settings = {};
    return tcgetattr(m_program, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
}

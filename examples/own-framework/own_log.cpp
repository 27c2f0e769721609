// Another provider of the log, by somebody else: every line goes to standard output, and the configuration is not
// asked.
#include "common/framework/log_proxy.h"

#include <iostream>
#include <sstream>

struct LogProxy::Line {
    std::ostringstream text;
};

LogProxy::LogProxy(int level, std::string_view moduleName, unsigned long /*requestId*/, std::string_view functionName,
                   int /*line*/)
    : m_line(std::make_unique<Line>())
{
    m_line->text << "own log: " << level << ' ' << moduleName << ' ' << functionName << ": ";
}

LogProxy::~LogProxy()
{
    std::cout << m_line->text.str() << '\n';
}

LogProxy& LogProxy::operator<<(int value)
{
    m_line->text << value;
    return *this;
}

std::ostream& LogProxy::Text()
{
    return m_line->text;
}

std::string_view GetFunctionName(std::string_view signature) noexcept
{
    return signature;
}

unsigned long QENTSP::get() const noexcept
{
    return 0;
}

void QENTSP::set(unsigned long /*value*/) noexcept {}

QENTSP TSP_RequestID;

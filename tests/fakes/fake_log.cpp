#include "tests/fakes/fake_log.h"

#include "common/framework/log_proxy.h"
#include "tests/fakes/fakes.h"

#include <algorithm>
#include <sstream>

// The log library's symbols.

struct LogProxy::Line {
    LogLine captured;
    std::ostringstream text;
    bool hasCode = false;
};

LogProxy::LogProxy(int level, std::string_view moduleName, unsigned long requestId, std::string_view functionName,
                   int line)
    : m_line(std::make_unique<Line>())
{
    m_line->captured.level = level;
    m_line->captured.module = moduleName;
    m_line->captured.requestId = requestId;
    m_line->captured.function = functionName;
    m_line->captured.line = line;
}

LogProxy::~LogProxy()
{
    m_line->captured.text = m_line->text.str();
    Fakes::Log().Append(m_line->captured);
}

LogProxy& LogProxy::operator<<(int value)
{
    if (!m_line->hasCode && m_line->text.tellp() == 0) {
        m_line->captured.code = value;
        m_line->hasCode = true;
    } else {
        m_line->text << value;
    }
    return *this;
}

std::ostream& LogProxy::Text()
{
    return m_line->text;
}

std::string_view GetFunctionName(std::string_view signature) noexcept
{
    // Enough for this library's signatures: the name in front of the parameters, without its class.
    const std::string_view anonymous = "(anonymous namespace)::";
    if (const std::size_t position = signature.find(anonymous); position != std::string_view::npos) {
        signature.remove_prefix(position + anonymous.size());
    }
    const std::string_view qualified = signature.substr(0, signature.find('('));
    return qualified.substr(qualified.find_last_of(": *&") + 1);
}

namespace {

thread_local unsigned long threadRequestId = 0;

} // namespace

unsigned long QENTSP::get() const noexcept
{
    return threadRequestId;
}

void QENTSP::set(unsigned long value) noexcept
{
    threadRequestId = value;
}

QENTSP TSP_RequestID;

// The capture.

void PrintTo(const LogLine& line, std::ostream* out)
{
    *out << line.level << "|" << line.module << "|" << line.requestId << "|" << line.function << "|" << line.code << "|"
         << line.text;
}

void FakeLog::Append(const LogLine& line)
{
    Observer observer;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_lines.push_back(line);
        m_appended.notify_all();
        observer = m_observer;
    }
    if (observer) {
        observer(line);
    }
}

void FakeLog::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_lines.clear();
    m_observer = nullptr;
}

void FakeLog::Observe(const Observer& observer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_observer = observer;
}

void FakeLog::Await(const std::string& text, int count)
{
    std::unique_lock<std::mutex> guard(m_lock);
    m_appended.wait(guard, [&] {
        return std::count_if(m_lines.begin(), m_lines.end(),
                             [&text](const LogLine& line) { return line.text == text; }) >= count;
    });
}

std::vector<LogLine> FakeLog::Lines() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_lines;
}

std::vector<LogLine> FakeLog::Told() const
{
    std::vector<LogLine> lines = Lines();
    const auto marksScope = [](const LogLine& line) {
        return line.level == 1 && (line.text == "Enter " + line.function || line.text == "End " + line.function);
    };
    lines.erase(std::remove_if(lines.begin(), lines.end(), marksScope), lines.end());
    return lines;
}

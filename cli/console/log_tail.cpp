#include "cli/console/log_tail.h"

#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK

#include "cli/console/report.h"
#include "common/framework/log_proxy.h"
#include "framework/public/log_listener.h"

#include <unistd.h>

#include <utility>

namespace {

constexpr std::size_t MOST_LINES = 4000; // ten times those of an init

} // namespace

struct LogTail::Ear {
    bool isShownAlready;
    OpenFramework::LogListener listener{static_cast<int>(severity_level::Info), MOST_LINES};
};

LogTail::LogTail(bool isShownAlready)
    : m_ear(std::make_unique<Ear>())
{
    m_ear->isShownAlready = isShownAlready;
    TSP_RequestID.set(static_cast<unsigned long>(getpid())); // tells this process's lines from a service's, in the file
}

std::vector<LogTail::Line> LogTail::Take()
{
    std::vector<Line> lines;
    for (OpenFramework::LogLine& line : m_ear->listener.Take()) {
        lines.push_back({line.level, std::move(line.operation), std::move(line.text)});
    }
    return lines;
}

void LogTail::PrintFailures()
{
    for (const Line& line : Take()) {
        if (!m_ear->isShownAlready && line.level >= static_cast<int>(severity_level::Warning)) {
            Report::Tell("  " + line.text + " (" + line.operation + ")");
        }
    }
}

#else

struct LogTail::Ear {};

LogTail::LogTail(bool /*isShownAlready*/) {}

std::vector<LogTail::Line> LogTail::Take()
{
    return {};
}

void LogTail::PrintFailures() {}

#endif

LogTail::~LogTail() = default;

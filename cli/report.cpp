#include "cli/report.h"

#include "base/json_writing.h"
#include "base/printable_text.h"

#include <json/writer.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <mutex>
#include <sstream>
#include <utility>

namespace Report {

namespace {

std::mutex lastStepLock;
std::string lastStep; // guarded by lastStepLock

} // namespace

std::string LastStep()
{
    const std::lock_guard<std::mutex> guard(lastStepLock);
    return lastStep;
}

void Step(const std::string& text)
{
    {
        const std::lock_guard<std::mutex> guard(lastStepLock);
        lastStep = text;
    }
    std::cerr << "zavctl: " << Base::Printable(text) << std::endl;
}

std::string Now()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    ::gmtime_r(&now, &parts);
    std::array<char, sizeof "2026-01-31T23:59:59Z"> text = {};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

void Table(const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], Base::Columns(Base::Printable(row[column])));
        }
    }
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const bool isLast = column + 1 == row.size();
            line += Base::PrintableCell(row[column], isLast ? 0 : widths[column] + 2);
        }
        std::cout << line << "\n";
    }
    std::cout << std::flush;
}

void Json(const ::Json::Value& value)
{
    ::Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    std::cout << Base::WriteJson(builder, value) << std::endl;
}

std::string Size(std::uint64_t bytes)
{
    constexpr double STEP = 1024;
    const std::array<const char*, 6> units = {"B", "KiB", "MiB", "GiB", "TiB", "PiB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= STEP && unit + 1 < units.size()) {
        value /= STEP;
        ++unit;
    }
    std::ostringstream text;
    text << std::fixed << std::setprecision(unit == 0 ? 0 : 2) << value << " " << units[unit];
    return text.str();
}

ProgressBar::ProgressBar(std::string title, std::uint64_t total)
    : m_title(std::move(title))
    , m_total(total)
    , m_isTerminal(isatty(STDERR_FILENO) == 1)
{
    Show(0);
}

ProgressBar::~ProgressBar()
{
    if (m_isTerminal) {
        std::cerr << "\r\033[K" << std::flush; // clears the line
    }
}

void ProgressBar::Show(std::uint64_t done) const
{
    if (!m_isTerminal || m_total == 0) {
        return;
    }
    constexpr std::uint64_t WIDTH = 40;
    const std::uint64_t filled = std::min(done, m_total) * WIDTH / m_total;
    std::cerr << "\r\033[K" << m_title << " [" << std::string(filled, '#') << std::string(WIDTH - filled, '-') << "] "
              << done << "/" << m_total << std::flush;
}

} // namespace Report

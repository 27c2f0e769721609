#include "cli/console/report.h"

#include "base/files.h"
#include "base/json_writing.h"
#include "base/printable_text.h"
#include "base/service_manager.h"
#include "base/utc_text.h"
#include "cli/console/failure.h"
#include "cli/console/json_answer.h"

#include <json/writer.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

namespace Report {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* CLEAR_LINE = "\r\033[K";

/// What is told, and what stands in the terminal's last line meanwhile. Never destroyed: a thread may tell something
/// when the process ends.
struct Telling {
    std::mutex lock;
    std::string lastStep;      // guarded by lock
    Clock::time_point began;   // guarded by lock; of the last step
    bool isQuiet = false;      // guarded by lock
    bool hasTime = false;      // guarded by lock; the running time stands there
    unsigned int ownLines = 0; // guarded by lock
    bool isAllTold = false;    // guarded by lock; threads go on until the process ends
    std::string about;         // guarded by lock; what lines are about
    const bool isForJournal = Base::IsJournal(STDERR_FILENO);
};

Telling& TheTelling()
{
    static Telling* const telling = std::make_unique<Telling>().release();
    return *telling;
}

// Before anything else is written there. Requires the lock.
void ClearTime(Telling& telling)
{
    if (telling.hasTime) {
        std::cerr << CLEAR_LINE;
        telling.hasTime = false;
    }
}

bool HasColours(int file)
{
    const char* const refusal = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (refusal == nullptr || *refusal == '\0') && terminal != nullptr && std::string_view(terminal) != "dumb" &&
           ::isatty(file) == 1;
}

const char* ColourOf(Look look)
{
    switch (look) {
    case Look::Cause:
        return "\033[31m"; // red
    case Look::Remedy:
        return "\033[32m"; // green
    case Look::Warning:
        return "\033[33m"; // yellow
    case Look::Plain:
        break;
    }
    return "";
}

/// A line's weight, as the system's journal counts it.
enum class Level { Error = 3, Warning = 4, Notice = 5, Info = 6 };

Level LevelOf(Look look)
{
    return look == Look::Cause ? Level::Error : look == Look::Warning ? Level::Warning : Level::Notice;
}

// Requires the lock.
void WriteToJournal(const Telling& telling, const std::string& text, Level level)
{
    const bool isNamed = telling.about.empty() || text.find(telling.about + ":") != std::string::npos;
    std::cerr << "<" + std::to_string(static_cast<int>(level)) + ">" +
                     Base::Printable(isNamed ? text : telling.about + ": " + text) + "\n"
              << std::flush;
}

// Requires the lock.
void Write(Telling& telling, const std::string& text, Look look, Level level)
{
    if (telling.isForJournal) {
        WriteToJournal(telling, text, level);
        return;
    }
    ClearTime(telling);
    const std::string line = "zavctl: " + Base::Printable(text);
    const bool isColoured = look != Look::Plain && HasColours(STDERR_FILENO);
    std::cerr << (isColoured ? ColourOf(look) + line + "\033[0m" : line) << std::endl;
}

// Rows without a look are plain.
void PrintTable(const std::vector<Row>& rows, const std::vector<Look>& looks, std::vector<std::size_t>& widths)
{
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], Base::Columns(Base::Printable(row[column])));
        }
    }
    for (std::size_t number = 0; number < rows.size(); ++number) {
        const Row& row = rows[number];
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const bool isLast = column + 1 == row.size();
            line += Base::PrintableCell(row[column], isLast ? 0 : widths[column] + 2);
        }
        line.erase(line.find_last_not_of(' ') + 1); // cells at its end may be empty
        const Look look = number < looks.size() ? looks[number] : Look::Plain;
        const bool isColoured = look != Look::Plain && HasColours(STDOUT_FILENO);
        std::cout << (isColoured ? ColourOf(look) + line + "\033[0m" : line) << "\n";
    }
    std::cout << std::flush;
}

// Requires the lock.
void Write(Telling& telling, const std::string& text, Look look)
{
    Write(telling, text, look, LevelOf(look));
}

// Requires the lock.
void WriteFailure(Telling& telling, const std::string& cause, const std::string& remedy)
{
    if (telling.isForJournal) {
        Write(telling, cause + "; remedy: " + remedy, Look::Cause);
        return;
    }
    Write(telling, cause, Look::Cause);
    Write(telling, "remedy: " + remedy, Look::Remedy);
}

} // namespace

std::string LastStep()
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    return telling.lastStep;
}

void Step(const std::string& text)
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    if (telling.isAllTold) {
        return;
    }
    telling.lastStep = text;
    telling.began = Clock::now();
    if (!telling.isQuiet) {
        Write(telling, text, Look::Plain, Level::Info);
    }
}

void Tell(const std::string& text, Look look)
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    if (!telling.isAllTold) {
        Write(telling, text, look);
    }
}

void LastWords(const std::string& cause, const std::string& remedy)
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    telling.isAllTold = true;
    ++telling.ownLines;
    WriteFailure(telling, cause, remedy);
}

void TellFailure(const std::string& cause, const std::string& remedy)
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    if (!telling.isAllTold) {
        WriteFailure(telling, cause, remedy);
    }
}

bool IsForJournal()
{
    return TheTelling().isForJournal;
}

About::About(const std::string& subject)
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    telling.about = subject;
}

About::~About()
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    telling.about.clear();
}

void BeQuiet() noexcept
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    telling.isQuiet = true;
}

OwnLine::OwnLine()
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    ClearTime(telling);
    ++telling.ownLines;
}

OwnLine::~OwnLine()
{
    Telling& telling = TheTelling();
    const std::lock_guard<std::mutex> guard(telling.lock);
    --telling.ownLines;
    telling.began = Clock::now();
}

RunningTime::RunningTime()
{
    if (::isatty(STDERR_FILENO) == 1) {
        m_thread = std::thread([this] { Run(); });
    }
}

RunningTime::~RunningTime()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isEnding = true;
    }
    m_end.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void RunningTime::Run()
{
    Telling& telling = TheTelling();
    std::unique_lock<std::mutex> guard(m_lock);
    while (!m_end.wait_for(guard, std::chrono::seconds(1), [this] { return m_isEnding; })) {
        const std::lock_guard<std::mutex> turn(telling.lock);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - telling.began).count();
        if (seconds > 0 && telling.ownLines == 0 && !telling.isQuiet && !telling.lastStep.empty()) {
            std::cerr << CLEAR_LINE << "  " << seconds << " s" << std::flush;
            telling.hasTime = true;
        }
    }
    const std::lock_guard<std::mutex> turn(telling.lock);
    ClearTime(telling);
    std::cerr << std::flush;
}

std::string Now()
{
    return Base::UtcText(std::time(nullptr));
}

void Print(const std::string& prefix, const std::string& text, Look look)
{
    const std::string line = Base::Printable(text);
    const bool isColoured = look != Look::Plain && HasColours(STDOUT_FILENO);
    std::cout << prefix << (isColoured ? ColourOf(look) + line + "\033[0m" : line) << std::endl;
}

void Table(const std::vector<Row>& rows)
{
    Table(rows, std::vector<Look>());
}

void Table(const std::vector<Row>& rows, const std::vector<Look>& looks)
{
    std::vector<std::size_t> widths;
    PrintTable(rows, looks, widths);
}

void Table(const std::vector<Row>& rows, std::vector<std::size_t>& widths)
{
    PrintTable(rows, {}, widths);
}

void Json(const ::Json::Value& value)
{
    ::Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    const std::string text = Base::WriteJson(builder, value);
    JsonAnswer::Begin();
    std::cout << text << std::endl;
}

::Json::Value JsonList(const std::vector<std::string>& texts)
{
    ::Json::Value list(::Json::arrayValue);
    for (const std::string& text : texts) {
        list.append(text);
    }
    return list;
}

void RequireWrittenOutput()
{
    std::cout.flush();
    if (std::cout) {
        return;
    }
    const int error = Base::WriteWhole(STDOUT_FILENO, "\n"); // fails for the same reason
    if (error == EPIPE) {
        throw NoReader();
    }
    throw Failure(ExitCode::Unusable,
                  "standard output cannot be written" + (error == 0 ? "" : ": " + Base::ErrorText(error)));
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
    , m_isShown(::isatty(STDERR_FILENO) == 1 && ::isatty(STDOUT_FILENO) != 1)
{
    Show(0);
}

ProgressBar::~ProgressBar()
{
    if (m_isShown) {
        std::cerr << CLEAR_LINE << std::flush;
    }
}

void ProgressBar::Show(std::uint64_t done) const
{
    if (!m_isShown || m_total == 0) {
        return;
    }
    constexpr std::uint64_t WIDTH = 40;
    const std::uint64_t filled = std::min(done, m_total) * WIDTH / m_total;
    std::cerr << CLEAR_LINE << m_title << " [" << std::string(filled, '#') << std::string(WIDTH - filled, '-') << "] "
              << done << "/" << m_total << std::flush;
}

} // namespace Report

#ifndef PRODUCT_STORAGE_CLI_CONSOLE_REPORT_H
#define PRODUCT_STORAGE_CLI_CONSOLE_REPORT_H

#include <json/value.h>

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Data goes to standard output, all else to standard error.
namespace Report {

enum class Format { Table, Json, Wide };

using Row = std::vector<std::string>;

/// Tells on standard error what is being done or was found; any thread. Quiet commands leave it out.
void Step(const std::string& text);

/// What Step told last, or would have; any thread.
std::string LastStep();

/// How a line looks on a terminal that has colours, unless NO_COLOR is set. The words are the same everywhere.
enum class Look { Plain, Cause, Remedy, Warning };

/// Tells on standard error what nobody may miss; any thread.
void Tell(const std::string& text, Look look = Look::Plain);

/// Tells what failed, and what to do about it.
void TellFailure(const std::string& cause, const std::string& remedy);

/// Whether what is told goes into the system's journal. There each line has its level in front, and the array that it
/// is about; it has no colours and no program's name; cause and remedy are one line. The journal has time, host and
/// process.
bool IsForJournal();

/// What lines are about while it lives, as a journal has it: those that do not name it themselves have it in front. One
/// at a time.
class About {
public:
    explicit About(const std::string& subject);
    About(const About&) = delete;
    About& operator=(const About&) = delete;
    ~About();
};

/// Tells why the command ends, and what to do. What other threads, which go on until the process ends, would tell
/// behind it is not told any more.
void LastWords(const std::string& cause, const std::string& remedy);

/// From now on Step tells nothing.
void BeQuiet() noexcept;

/// The time as a journal of lines wants it: 2026-01-31T23:59:59Z.
std::string Now();

/// The form of all JSON that is printed, named in each answer; docs/zavctl-json.md tells it.
inline constexpr const char* SCHEMA = "zavctl/1";

/// Prints a line on standard output, the text behind `prefix` in colours where Tell would have them. Texts of an array
/// may stand in `text`, not in `prefix`.
void Print(const std::string& prefix, const std::string& text, Look look = Look::Plain);

/// Prints rows with aligned columns, the first row as heading.
void Table(const std::vector<Row>& rows);

/// The same for a table that is printed piece by piece: columns are at least as wide as `widths` says, which learns how
/// wide they are.
void Table(const std::vector<Row>& rows, std::vector<std::size_t>& widths);

/// With a look for each row.
void Table(const std::vector<Row>& rows, const std::vector<Look>& looks);
void Json(const ::Json::Value& value);

/// Texts as JSON has them: [] where there are none.
::Json::Value JsonList(const std::vector<std::string>& texts);

/// Standard output has no reader any more, as behind "| head". Who printed is to end, with a word to nobody.
class NoReader : public std::exception {
public:
    const char* what() const noexcept override { return "nobody reads standard output any more"; }
};

/// Sees that what was printed so far was taken. Throws NoReader, or Failure where it cannot be written: a disk that is
/// full, for one.
void RequireWrittenOutput();

/// 1073741824 gives "1.00 GiB".
std::string Size(std::uint64_t bytes);

/// Tells on standard error, on a terminal only, how long the last step takes, once that is a second. The line moves in
/// place and is gone before anything else is told.
class RunningTime {
public:
    RunningTime();
    RunningTime(const RunningTime&) = delete;
    RunningTime& operator=(const RunningTime&) = delete;
    ~RunningTime();

private:
    void Run();

    std::mutex m_lock;
    std::condition_variable m_end;
    bool m_isEnding = false; // guarded by m_lock
    std::thread m_thread;    // last: it uses the others
};

/// While one lives, the last line of the terminal is its owner's: no running time is shown.
class OwnLine {
public:
    OwnLine();
    OwnLine(const OwnLine&) = delete;
    OwnLine& operator=(const OwnLine&) = delete;
    ~OwnLine();
};

/// A bar on standard error that moves in place, on a terminal only; it is gone when the object is. Where what is
/// printed goes to the terminal as well, that shows how far it is, and there is no bar.
class ProgressBar {
public:
    ProgressBar(std::string title, std::uint64_t total);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar();

    void Show(std::uint64_t done) const;

private:
    const std::string m_title;
    const std::uint64_t m_total;
    const bool m_isShown;
    const OwnLine m_line;
};

} // namespace Report

#endif

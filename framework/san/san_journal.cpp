#include "framework/public/san_journal.h"

#include "base/files.h"
#include "base/json_reading.h"
#include "base/json_writing.h"
#include "base/kept_by_thread.h"
#include "base/utc_text.h"
#include "framework/support/change_lock.h"
#include "framework/support/executable_root.h"

#include <json/writer.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace OpenFramework {

namespace {

constexpr unsigned int FILE_MODE = 0600;
constexpr std::size_t BYTES_WORTH_TIDYING = 65536; // from this size on, lines of what is gone are taken out
constexpr std::size_t MAX_FILE_BYTES = 64ULL * 1024 * 1024;

constexpr std::string_view INTENDED = "intended";
constexpr std::string_view MADE = "made";
constexpr std::string_view DROPPED = "dropped";

// 0 for a text that is none of Base::UtcText.
std::int64_t SecondsOf(const std::string& text)
{
    std::tm parts = {};
    return ::strptime(text.c_str(), Base::UTC_FORMAT, &parts) != nullptr ? ::timegm(&parts) : 0;
}

std::string ToLine(std::string_view state, const JournalEntry& entry)
{
    Json::Value object(Json::objectValue);
    object["device"] = entry.device;
    object["kind"] = entry.kind;
    object["name"] = entry.name;
    object["id"] = entry.id;
    object["state"] = std::string(state);
    object["time"] = Base::UtcText(entry.time != 0 ? entry.time : std::time(nullptr));
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Base::WriteJson(builder, object) + "\n";
}

Json::CharReaderBuilder FlatSettings()
{
    Json::CharReaderBuilder settings;
    settings["stackLimit"] = 8;
    return settings;
}

// False for a line that is no entry, as one that a crash cut.
bool FromLine(const std::string& line, std::string& state, JournalEntry& entry)
{
    Json::Value object;
    const bool isRead = Base::WithKeptByThread([] { return Base::JsonReader(FlatSettings()); },
                                               [&](Base::JsonReader& reader) { return reader.Read(line, object); });
    if (!isRead || !object.isObject()) {
        return false;
    }
    const auto take = [&object](const char* name, std::string& text) {
        const bool isText = object[name].isString();
        text = isText ? object[name].asString() : "";
        return isText;
    };
    entry.time = SecondsOf(object["time"].isString() ? object["time"].asString() : "");
    return take("device", entry.device) && take("kind", entry.kind) && take("name", entry.name) &&
           take("id", entry.id) && take("state", state);
}

bool SameObject(const JournalEntry& one, const JournalEntry& other)
{
    return one.device == other.device && one.kind == other.kind && one.name == other.name;
}

void Apply(const std::string& state, const JournalEntry& entry, std::vector<JournalEntry>& standing)
{
    if (state == INTENDED) {
        standing.push_back(entry);
        standing.back().id.clear();
        return;
    }
    // What was intended has become this one; what was dropped is gone under the id, or under any.
    const auto ends = [&](const JournalEntry& each) {
        return SameObject(each, entry) &&
               (each.id.empty() || each.id == entry.id || (state == DROPPED && entry.id.empty()));
    };
    standing.erase(std::remove_if(standing.begin(), standing.end(), ends), standing.end());
    if (state == MADE) {
        standing.push_back(entry);
    }
}

// Requires the lock.
std::vector<JournalEntry> Read(const std::string& path)
{
    const Base::Descriptor file = Base::OpenForReading(path, Base::Links::Refused);
    if (!file.IsOpen()) {
        if (errno == ENOENT) {
            return {};
        }
        Base::ThrowErrno("cannot read", path);
    }
    std::string text;
    const int error = Base::ReadToEnd(file.Get(), MAX_FILE_BYTES, text);
    if (error != 0) {
        throw std::runtime_error("cannot read " + path + ": " + Base::ErrorText(error));
    }
    std::vector<JournalEntry> standing;
    std::istringstream lines(text);
    std::string state;
    JournalEntry entry;
    for (std::string line; std::getline(lines, line);) {
        if (FromLine(line, state, entry)) {
            Apply(state, entry, standing);
        }
    }
    return standing;
}

void Append(const std::string& path, std::string_view state, const JournalEntry& entry)
{
    const Framework::ChangeLock lock(path);
    struct stat before = {};
    const bool isNew = ::stat(path.c_str(), &before) != 0;
    Base::Descriptor file(
        ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, FILE_MODE));
    struct stat status = {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0) {
        Base::ThrowErrno("cannot open", path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw std::runtime_error("cannot write " + path + ": it is no regular file");
    }
    std::string line = ToLine(state, entry);
    char last = '\n';
    if (status.st_size > 0 && ::pread(file.Get(), &last, 1, status.st_size - 1) == 1 && last != '\n') {
        line.insert(0, 1, '\n'); // a crash cut the line before
    }
    const int error = Base::WriteWhole(file.Get(), line);
    if (error != 0) {
        throw std::runtime_error("cannot write " + path + ": " + Base::ErrorText(error));
    }
    if (::fdatasync(file.Get()) != 0) {
        Base::ThrowErrno("cannot flush", path);
    }
    if (isNew) {
        Base::SyncParentDirectory(path);
    }
    if (state == DROPPED && static_cast<std::size_t>(status.st_size) > BYTES_WORTH_TIDYING) {
        std::string kept;
        for (const JournalEntry& each : Read(path)) {
            kept += ToLine(each.id.empty() ? INTENDED : MADE, each);
        }
        Base::SaveFile(path, kept, FILE_MODE);
    }
}

} // namespace

std::string SanJournal::StandardPath()
{
    return Framework::ExecutableRoot() + "/conf/san-journal";
}

void SanJournal::RequireWritable() const
{
    for (const std::string& path : {m_path, m_path + ".lock"}) {
        struct stat status = {};
        const bool isThere = ::lstat(path.c_str(), &status) == 0;
        if (isThere && !S_ISREG(status.st_mode)) {
            throw std::runtime_error("cannot write " + path + ": it is no regular file");
        }
        const std::string written = isThere ? path : path.substr(0, path.rfind('/'));
        if (::faccessat(AT_FDCWD, written.c_str(), W_OK, AT_EACCESS) != 0) {
            Base::ThrowErrno("cannot write", path);
        }
    }
}

void SanJournal::Intend(const JournalEntry& entry) const
{
    Append(m_path, INTENDED, entry);
}

void SanJournal::Made(const JournalEntry& entry) const
{
    Append(m_path, MADE, entry);
}

void SanJournal::Drop(const JournalEntry& entry) const
{
    Append(m_path, DROPPED, entry);
}

std::vector<JournalEntry> SanJournal::Standing(const std::string& device) const
{
    struct stat status = {};
    if (::stat(m_path.c_str(), &status) != 0 && errno == ENOENT) {
        return {}; // nothing was ever made; and no lock file is
    }
    const Framework::ChangeLock lock(m_path);
    std::vector<JournalEntry> entries = Read(m_path);
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&device](const JournalEntry& each) { return each.device != device; }),
                  entries.end());
    return entries;
}

} // namespace OpenFramework

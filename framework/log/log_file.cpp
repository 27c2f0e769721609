#include "framework/log/log_file.h"

#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace Framework {

namespace {

namespace fs = std::filesystem;

int OpenForAppending(const std::string& path)
{
    Base::MakeParentDirectory(path);
    // A FIFO that nobody reads is not waited for, whereas one that is read slowly is.
    const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    if (file < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    ::fcntl(file, F_SETFL, O_APPEND);
    return file;
}

// Whether the file ends in the middle of a line, which its writer could not finish on a full disk.
bool EndsWithinALine(const std::string& path, off_t size)
{
    const Base::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    char last = '\n';
    return size > 0 && file.IsOpen() && ::pread(file.Get(), &last, 1, size - 1) == 1 && last != '\n';
}

std::string Numbered(const std::string& path, std::uint64_t number)
{
    fs::path name = path;
    const std::string extension = name.extension();
    return number == 0 ? path : name.replace_extension("." + std::to_string(number) + extension).string();
}

bool Exists(const std::string& path)
{
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

} // namespace

LogFile::LogFile(const std::string& path)
    : m_file(OpenForAppending(path))
{
    struct stat status = {};
    if (::fstat(m_file.Get(), &status) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    m_id = Id(status.st_dev, status.st_ino);
    m_isRegular = S_ISREG(status.st_mode);
    m_bytes = static_cast<std::uint64_t>(status.st_size);
    if (m_isRegular && EndsWithinALine(path, status.st_size)) {
        Append("\n");
    }
}

void LogFile::Append(std::string_view lines)
{
    const int error =
        m_isRegular ? Base::WriteWhole(m_file.Get(), lines) : Base::WriteWithoutSigpipe(m_file.Get(), lines);
    if (error != 0) {
        throw std::system_error(error, std::generic_category());
    }
    m_bytes += lines.size();
}

LogFile::Named LogFile::LookAt(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) {
        return Named::Nothing;
    }
    if (m_id != Id(status.st_dev, status.st_ino)) {
        return Named::AnotherFile;
    }
    m_bytes = static_cast<std::uint64_t>(status.st_size);
    return Named::ThisFile;
}

bool LogFile::WouldExceed(std::uint64_t limit, std::uint64_t appended) const
{
    return m_isRegular && m_bytes > 0 && m_bytes + appended > limit;
}

void SetLogFileAside(const std::string& path, std::uint64_t maxFiles)
{
    if (maxFiles == 0) {
        if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
            Base::ThrowErrno("cannot remove", path);
        }
        return;
    }
    // From the last on, so that each finds its next name free.
    std::uint64_t last = 1;
    while (last < maxFiles && Exists(Numbered(path, last))) {
        ++last;
    }
    for (; last > 0; --last) {
        const std::string from = Numbered(path, last - 1);
        if (std::rename(from.c_str(), Numbered(path, last).c_str()) != 0 && errno != ENOENT) {
            Base::ThrowErrno("cannot rename", from);
        }
    }
}

} // namespace Framework

#include "framework/support/files.h"

#include "framework/support/unique_fd.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace Framework {

int ReadToEnd(int fd, std::size_t limit, std::string& text)
{
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return errno;
        }
        if (count == 0) {
            return 0;
        }
        if (text.size() + static_cast<std::size_t>(count) > limit) {
            return EFBIG;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

int WriteWhole(int fd, const std::string& text)
{
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return errno;
        }
        written += static_cast<std::size_t>(count);
    }
    return 0;
}

int ReplaceFile(const std::string& path, const std::string& text, unsigned int mode)
{
    const std::string temporary = TemporaryName(path);
    UniqueFd file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!file.IsOpen()) {
        return errno;
    }
    int error = WriteWhole(file.Get(), text);
    if (error == 0 && ::fsync(file.Get()) != 0) {
        error = errno;
    }
    file.Close();
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(temporary.c_str());
        return error;
    }
    SyncParentDirectory(path);
    return 0;
}

void MakeParentDirectory(const std::string& path)
{
    const boost::filesystem::path parent = boost::filesystem::path(path).parent_path();
    boost::system::error_code ignored;
    if (!parent.empty()) {
        boost::filesystem::create_directories(parent, ignored);
    }
}

void SyncParentDirectory(const std::string& path)
{
    const std::string parent = boost::filesystem::path(path).parent_path().string();
    const UniqueFd directory(::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.IsOpen()) {
        ::fsync(directory.Get());
    }
}

std::string TemporaryName(const std::string& path)
{
    static std::atomic<unsigned int> lastNumber = 0;
    return path + "." + std::to_string(::getpid()) + "-" + std::to_string(++lastNumber) + ".tmp";
}

std::string ErrorText(int errorNumber)
{
    return std::generic_category().message(errorNumber);
}

} // namespace Framework

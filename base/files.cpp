#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace Base {

namespace {

namespace fs = std::filesystem;

// What a file shall be like. The owner is left alone when it is not told.
struct Look {
    unsigned int mode = 0;
    bool isMasked = false; ///< the process's mask counts
    std::optional<std::pair<uid_t, gid_t>> owner;
};

// No file that was there is touched, and on failure none is left.
int WriteNewFile(const std::string& path, std::string_view text, const Look& look)
{
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, look.isMasked ? look.mode : 0600));
    if (!file.IsOpen()) {
        return errno;
    }
    const bool looksRight = (!look.owner || ::fchown(file.Get(), look.owner->first, look.owner->second) == 0) &&
                            (look.isMasked || ::fchmod(file.Get(), look.mode) == 0);
    int error = looksRight ? WriteWhole(file.Get(), text) : errno;
    if (error == 0 && ::fsync(file.Get()) != 0) {
        error = errno;
    }
    if (::close(file.Release()) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(path.c_str());
    }
    return error;
}

// As WriteBeside.
int WriteTemporary(const std::string& path, std::string_view text, const Look& look, std::string& temporary)
{
    constexpr int MOST_NAMES = 100;
    int error = EEXIST;
    for (int i = 0; i <= MOST_NAMES && error == EEXIST; ++i) { // left by a process with our number that was killed
        temporary = TemporaryName(path);
        error = WriteNewFile(temporary, text, look);
    }
    return error;
}

int Replace(const std::string& path, std::string_view text, const Look& look)
{
    std::string temporary;
    if (const int error = WriteTemporary(path, text, look, temporary); error != 0) {
        return error;
    }
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        return error;
    }
    SyncParentDirectory(path);
    return 0;
}

int WriteInPlace(const std::string& path, std::string_view text, unsigned int newMode)
{
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, newMode));
    if (!file.IsOpen()) {
        return errno;
    }
    int error = WriteWhole(file.Get(), text);
    if (error == 0 && ::fsync(file.Get()) != 0 && errno != EINVAL && errno != EROFS) { // what is no file has no disk
        error = errno;
    }
    if (::close(file.Release()) != 0 && error == 0) {
        error = errno;
    }
    return error;
}

// Whether a file that could not be replaced for this reason can still be written in place without risking more than
// that: nothing was wrong with the disk. EINVAL and EOVERFLOW tell of an owner that this container's users do not have.
bool MayBeWrittenInPlace(int error)
{
    return error == EACCES || error == EPERM || error == EROFS || error == EBUSY || error == EXDEV ||
           error == ENAMETOOLONG || error == EINVAL || error == EOVERFLOW;
}

// Where the links at `path` lead, which need not be there.
std::string FollowLinks(const std::string& path)
{
    constexpr int MOST_LINKS = 40; // as the kernel has it
    fs::path target = path;
    std::error_code error;
    for (int links = 0; links < MOST_LINKS && fs::is_symlink(fs::symlink_status(target, error)); ++links) {
        const fs::path next = fs::read_symlink(target, error);
        target = next.is_absolute() ? next : target.parent_path() / next;
    }
    return target.string();
}

} // namespace

Descriptor OpenForReading(const std::string& path, Links links)
{
    return Descriptor(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | (links == Links::Refused ? O_NOFOLLOW : 0)));
}

int ReadToEnd(int descriptor, std::size_t limit, std::string& text)
{
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
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

int WriteWhole(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count < 0 ? errno : EIO;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return 0;
}

std::optional<std::string> ReadFileIfThere(const std::string& path)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        ThrowErrno("cannot read", path);
    }
    std::string text;
    const int error = ReadToEnd(file.Get(), std::numeric_limits<std::size_t>::max(), text);
    if (error != 0) {
        errno = error;
        ThrowErrno("cannot read", path);
    }
    return text;
}

int WriteWithoutSigpipe(int descriptor, std::string_view text)
{
    sigset_t brokenPipe;
    sigset_t before;
    sigset_t pending;
    ::sigemptyset(&brokenPipe);
    ::sigaddset(&brokenPipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    ::sigpending(&pending);
    const int error = WriteWhole(descriptor, text);
    if (error == EPIPE && ::sigismember(&pending, SIGPIPE) == 0) { // what was pending before is somebody else's
        const timespec noWait = {};
        ::sigtimedwait(&brokenPipe, nullptr, &noWait);
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return error;
}

bool IsOtherThanFile(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

int WriteBeside(const std::string& path, std::string_view text, unsigned int mode, std::string& temporary)
{
    return WriteTemporary(path, text, {mode, false, std::nullopt}, temporary);
}

int ReplaceFile(const std::string& path, std::string_view text, unsigned int mode)
{
    return Replace(path, text, {mode, false, std::nullopt});
}

void SaveFile(const std::string& path, std::string_view text, unsigned int mode)
{
    const int error = ReplaceFile(path, text, mode);
    if (error != 0) {
        errno = error;
        ThrowErrno("cannot write", path);
    }
}

int RewriteFile(const std::string& path, std::string_view text, unsigned int newMode)
{
    const std::string target = FollowLinks(path);
    Look look = {newMode, true, std::nullopt};
    {
        const Descriptor old(::open(target.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        struct stat status = {};
        if (!old.IsOpen() && errno != ENOENT) {
            return errno;
        }
        if (old.IsOpen()) {
            if (::fstat(old.Get(), &status) != 0) {
                return errno;
            }
            if (!S_ISREG(status.st_mode)) {
                return WriteInPlace(target, text, newMode);
            }
            constexpr mode_t PERMISSIONS = 07777;
            look = {status.st_mode & PERMISSIONS, false, std::pair(status.st_uid, status.st_gid)};
        }
    }
    const int error = Replace(target, text, look);
    return MayBeWrittenInPlace(error) ? WriteInPlace(target, text, newMode) : error;
}

void MakeParentDirectory(const std::string& path)
{
    const fs::path parent = fs::path(path).parent_path();
    std::error_code ignored;
    if (!parent.empty()) {
        fs::create_directories(parent, ignored);
    }
}

void SyncParentDirectory(const std::string& path)
{
    const std::string parent = fs::path(path).parent_path().string();
    const Descriptor directory(::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
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

void ThrowErrno(const std::string& what, const std::string& path)
{
    throw std::runtime_error(what + " " + path + ": " + ErrorText(errno));
}

} // namespace Base

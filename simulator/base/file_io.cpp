#include "simulator/base/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace ZavSim {

namespace {

bool WriteAll(int descriptor, const std::string& text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

} // namespace

void ThrowErrno(const std::string& what, const std::string& path)
{
    throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

void Descriptor::Close() noexcept
{
    const int descriptor = Release();
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

int Descriptor::Release() noexcept
{
    return std::exchange(m_descriptor, -1);
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
    char buffer[16384];
    while (true) {
        const ssize_t count = ::read(file.Get(), buffer, sizeof buffer);
        if (count == 0) {
            return text;
        }
        if (count < 0 && errno != EINTR) {
            ThrowErrno("cannot read", path);
        }
        text.append(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

void WriteFileAtomically(const std::string& path, const std::string& text, unsigned mode)
{
    const std::string temporary = path + ".new";
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (!file.IsOpen()) {
        ThrowErrno("cannot write", temporary);
    }
    // The mode given to open counts for new files only, and less the umask.
    const bool written = ::fchmod(file.Get(), mode) == 0 && WriteAll(file.Get(), text) && ::fsync(file.Get()) == 0;
    if (written && ::close(file.Release()) == 0 && ::rename(temporary.c_str(), path.c_str()) == 0) {
        return;
    }
    const int error = errno;
    ::unlink(temporary.c_str());
    errno = error;
    ThrowErrno("cannot write", path);
}

} // namespace ZavSim

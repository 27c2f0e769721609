// The system as a process of the simulated node finds it: its clocks, its pauses, its own path, and each change of a
// file. Clocks and pauses are bent for all libraries, because ours ask through them; files for our own code alone, by
// the linker.

#include "tests/simulation/process.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <string_view>

using Simulation::Message;
using Simulation::Planted;
namespace Process = Simulation::Process;

namespace {

constexpr std::int64_t SECOND = 1000000000;

std::int64_t Now(clockid_t clock)
{
    const Simulation::SharedPage& page = *Process::Setup().page;
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE ? page.wallNanoseconds : page.steadyNanoseconds;
}

std::int64_t ToNanoseconds(const timespec& time)
{
    return time.tv_sec * SECOND + time.tv_nsec;
}

timespec ToTime(std::int64_t nanoseconds)
{
    return {nanoseconds / SECOND, nanoseconds % SECOND};
}

// Nobody wakes the simulated thread: what it waits for with a limit does not come, as far as it can see.
int WaitUntil(pthread_mutex_t* mutex, clockid_t clock, const timespec& end)
{
    pthread_mutex_unlock(mutex);
    Process::Sleep(std::chrono::nanoseconds(std::max<std::int64_t>(ToNanoseconds(end) - Now(clock), 1)));
    pthread_mutex_lock(mutex);
    return ETIMEDOUT;
}

std::string PathOf(int descriptor)
{
    char path[512] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const auto length = syscall(SYS_readlink, link.c_str(), path, sizeof path - 1);
    return std::string(path, length > 0 ? static_cast<std::size_t>(length) : 0);
}

// 0, or the error number that the world has happen.
int AskForFile(const char* what, const std::string& path)
{
    const Message answer = Process::AskForFile({"file", what, path});
    return answer[0] == "ok" ? 0 : std::stoi(answer[1]);
}

bool Fails(const char* what, const std::string& path)
{
    if (!Process::IsInside()) {
        return false;
    }
    const int error = AskForFile(what, path);
    errno = error;
    return error != 0;
}

std::int64_t backOff = 0; // between two looks at a lock that another process holds

} // namespace

// Seen by the libraries too, in front of the system's own.
#pragma GCC visibility push(default)

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    if (!Process::IsInside()) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    *time = ToTime(Now(clock));
    return 0;
}

time_t time(time_t* result) noexcept
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

int nanosleep(const timespec* duration, timespec* left)
{
    if (!Process::IsInside()) {
        return static_cast<int>(syscall(SYS_nanosleep, duration, left));
    }
    // Looks at a lock are few milliseconds apart: longer here, or the waiting would be most of the work.
    Process::Sleep(std::chrono::nanoseconds(std::max(ToNanoseconds(*duration), backOff)));
    return 0;
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* duration, timespec* left)
{
    if (!Process::IsInside()) {
        return syscall(SYS_clock_nanosleep, clock, flags, duration, left) == 0 ? 0 : errno;
    }
    const std::int64_t wait = ToNanoseconds(*duration) - ((flags & TIMER_ABSTIME) != 0 ? Now(clock) : 0);
    const timespec relative = ToTime(std::max<std::int64_t>(wait, 0));
    return nanosleep(&relative, left);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* end)
{
    if (Process::IsInside()) {
        return WaitUntil(mutex, CLOCK_MONOTONIC, *end); // boost's conditions, which are bound to that clock
    }
    using Function = int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_cond_timedwait"));
    return real(condition, mutex, end);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* end)
{
    if (Process::IsInside()) {
        return WaitUntil(mutex, clock, *end);
    }
    using Function = int (*)(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_cond_clockwait"));
    return real(condition, mutex, clock, end);
}

// The library's check thread takes no part: on a slow day its second would pass within a run that takes none.
int epoll_wait(int epoll, epoll_event* events, int most, int milliseconds)
{
    const bool isOfAProcess = Process::Setup().page != nullptr;
    return static_cast<int>(
        syscall(SYS_epoll_pwait, epoll, events, most, isOfAProcess ? -1 : milliseconds, nullptr, 0));
}

ssize_t readlink(const char* path, char* buffer, size_t size) noexcept
{
    const Process::InSystem system;
    if (!Process::IsInside() || std::string_view(path) != "/proc/self/exe") {
        return syscall(SYS_readlink, path, buffer, size);
    }
    const std::string program = Process::Setup().folder + "/bin/zavctl";
    const std::size_t length = std::min(size, program.size());
    std::memcpy(buffer, program.data(), length);
    return static_cast<ssize_t>(length);
}

// The linker sends our own objects' calls of X to __wrap_X, and calls of __real_X to X itself.

int __real_open(const char* path, int flags, ...);
ssize_t __real_write(int descriptor, const void* bytes, size_t count);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);
int __real_fsync(int descriptor);
int __real_fdatasync(int descriptor);
int __real_flock(int descriptor, int operation);

int __wrap_open(const char* path, int flags, ...)
{
    const Process::InSystem system;
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & (O_CREAT | O_TRUNC)) != 0 && Fails("open", path)) {
        return -1;
    }
    return __real_open(path, flags, mode);
}

ssize_t __wrap_write(int descriptor, const void* bytes, size_t count)
{
    const Process::InSystem system;
    if (!Process::IsInside()) {
        return __real_write(descriptor, bytes, count);
    }
    const Message answer = Process::AskForFile({"file", "write", ""});
    if (answer[0] == "ok") {
        return __real_write(descriptor, bytes, count);
    }
    if (answer[0] == "half") {
        return __real_write(descriptor, bytes, (count + 1) / 2);
    }
    errno = std::stoi(answer[1]);
    return -1;
}

int __wrap_rename(const char* from, const char* to)
{
    const Process::InSystem system;
    return Fails("rename", to) ? -1 : __real_rename(from, to);
}

int __wrap_unlink(const char* path)
{
    const Process::InSystem system;
    return Fails("unlink", path) ? -1 : __real_unlink(path);
}

int __wrap_fsync(int descriptor)
{
    const Process::InSystem system;
    if (Process::Lacks(Planted::NoFlush)) {
        return 0;
    }
    // Memory keeps what is written; what a disk would have of it, the world keeps.
    return Fails("flush", Process::IsInside() ? PathOf(descriptor) : "") ? -1 : 0;
}

int __wrap_fdatasync(int descriptor)
{
    return __wrap_fsync(descriptor);
}

int __wrap_flock(int descriptor, int operation)
{
    const Process::InSystem system;
    if (!Process::IsInside()) {
        return __real_flock(descriptor, operation);
    }
    if (Process::Lacks(Planted::NoLock)) {
        return 0;
    }
    if (backOff == 0 && Fails("lock", PathOf(descriptor))) {
        return -1;
    }
    const int result = __real_flock(descriptor, operation);
    constexpr std::int64_t FIRST = 5000000;
    constexpr std::int64_t LONGEST = SECOND / 4;
    backOff = result == 0 ? 0 : std::clamp(backOff * 2, FIRST, LONGEST);
    return result;
}

} // extern "C"

#pragma GCC visibility pop

// The system's functions as SystemCalls describes them. Visible, so that shared libraries find these first.

#include "tests/unit/system_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <ctime>

namespace {

template <typename Function>
Function* Real(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::string Text(int number)
{
    return std::to_string(number);
}

// For functions that return an error number: the scripted one, or what `real` gives.
template <typename Call>
int ErrorNumber(const char* function, const Call& real)
{
    if (SystemCalls* const calls = SystemCalls::Active()) {
        if (const auto scripted = calls->Script(function, "")) {
            return scripted->result == -1 ? scripted->error : scripted->result;
        }
    }
    return real();
}

// For functions that return -1 and set errno.
template <typename Call>
int Result(const char* function, const std::string& arguments, const Call& real)
{
    if (SystemCalls* const calls = SystemCalls::Active()) {
        if (const auto scripted = calls->Script(function, arguments)) {
            errno = scripted->error;
            return scripted->result;
        }
    }
    return real();
}

// The undefined-behaviour sanitizer probes memory through pipes of its own.
bool IsSanitizers(const void* caller)
{
    Dl_info place = {};
    return dladdr(caller, &place) != 0 && std::strstr(place.dli_fname, "san.so") != nullptr;
}

} // namespace

int RealCalls::EpollWait(int epollFd, epoll_event* events, int capacity, int milliseconds)
{
    static auto* const real = Real<decltype(::epoll_wait)>("epoll_wait");
    return real(epollFd, events, capacity, milliseconds);
}

int RealCalls::Close(int descriptor)
{
    static auto* const real = Real<decltype(::close)>("close");
    return real(descriptor);
}

#define SYSTEM_CALL extern "C" __attribute__((visibility("default")))

SYSTEM_CALL int epoll_create(int size) noexcept
{
    static auto* const real = Real<decltype(::epoll_create)>("epoll_create");
    const int epollFd = Result("epoll_create", Text(size), [&] { return real(size); });
    if (SystemCalls* const calls = SystemCalls::Active()) {
        calls->EpollCreated(epollFd);
    }
    return epollFd;
}

SYSTEM_CALL int epoll_ctl(int epollFd, int operation, int descriptor, epoll_event* event) noexcept
{
    static auto* const real = Real<decltype(::epoll_ctl)>("epoll_ctl");
    const std::string name = operation == EPOLL_CTL_ADD ? "EPOLL_CTL_ADD" : Text(operation);
    const std::string events = event == nullptr ? "none" : std::to_string(event->events);
    return Result("epoll_ctl", Text(epollFd) + ", " + name + ", " + Text(descriptor) + ", " + events,
                  [&] { return real(epollFd, operation, descriptor, event); });
}

SYSTEM_CALL int epoll_wait(int epollFd, epoll_event* events, int capacity, int milliseconds)
{
    if (SystemCalls* const calls = SystemCalls::Active()) {
        return calls->Wait(epollFd, events, capacity, milliseconds);
    }
    return RealCalls::EpollWait(epollFd, events, capacity, milliseconds);
}

SYSTEM_CALL int pipe(int* ends) noexcept
{
    static auto* const real = Real<decltype(::pipe)>("pipe");
    if (IsSanitizers(__builtin_return_address(0))) {
        return real(ends);
    }
    return Result("pipe", "", [&] { return real(ends); });
}

SYSTEM_CALL int fcntl(int descriptor, int command, ...)
{
    static auto* const real = Real<decltype(::fcntl)>("fcntl");
    std::va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*); // whatever it is: an int, a pointer, or nothing
    va_end(arguments);
    const auto number = static_cast<int>(reinterpret_cast<std::intptr_t>(argument));
    const std::string words = command == F_GETFL   ? "F_GETFL"
                              : command == F_SETFL ? "F_SETFL, " + Text(number)
                                                   : Text(command);
    return Result("fcntl", Text(descriptor) + ", " + words, [&] { return real(descriptor, command, argument); });
}

SYSTEM_CALL int close(int descriptor)
{
    return Result("close", Text(descriptor), [&] { return RealCalls::Close(descriptor); });
}

SYSTEM_CALL int sem_wait(sem_t* semaphore)
{
    static auto* const real = Real<decltype(::sem_wait)>("sem_wait");
    const int result = Result("sem_wait", "", [&] { return real(semaphore); });
    if (SystemCalls* const calls = SystemCalls::Active(); calls != nullptr) {
        calls->SemaphoreTaken();
    }
    return result;
}

SYSTEM_CALL int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                               void* argument) noexcept
{
    static auto* const real = Real<decltype(::pthread_create)>("pthread_create");
    return ErrorNumber("pthread_create", [&] { return real(thread, attributes, body, argument); });
}

SYSTEM_CALL int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) noexcept
{
    static auto* const real = Real<decltype(::pthread_mutex_init)>("pthread_mutex_init");
    return ErrorNumber("pthread_mutex_init", [&] { return real(mutex, attributes); });
}

SYSTEM_CALL int pthread_mutexattr_init(pthread_mutexattr_t* attributes) noexcept
{
    static auto* const real = Real<decltype(::pthread_mutexattr_init)>("pthread_mutexattr_init");
    return ErrorNumber("pthread_mutexattr_init", [&] { return real(attributes); });
}

SYSTEM_CALL int pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int kind) noexcept
{
    static auto* const real = Real<decltype(::pthread_mutexattr_settype)>("pthread_mutexattr_settype");
    return ErrorNumber("pthread_mutexattr_settype", [&] { return real(attributes, kind); });
}

SYSTEM_CALL void explicit_bzero(void* bytes, std::size_t size) noexcept
{
    static auto* const real = Real<decltype(::explicit_bzero)>("explicit_bzero");
    if (SystemCalls* const calls = SystemCalls::Active()) {
        calls->Wiping({bytes, std::string(static_cast<const char*>(bytes), size)});
    }
    real(bytes, size);
}

// What code that is built with checked copies calls in its place.
SYSTEM_CALL void __explicit_bzero_chk(void* bytes, std::size_t size, std::size_t /*room*/) noexcept
{
    explicit_bzero(bytes, size);
}

boost::chrono::steady_clock::time_point boost::chrono::steady_clock::now() BOOST_NOEXCEPT
{
    if (SystemCalls* const calls = SystemCalls::Active()) {
        return calls->Now();
    }
    timespec reading = {};
    clock_gettime(CLOCK_MONOTONIC, &reading);
    return time_point(boost::chrono::seconds(reading.tv_sec) + boost::chrono::nanoseconds(reading.tv_nsec));
}

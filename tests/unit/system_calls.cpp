#include "tests/unit/system_calls.h"

#include "tests/fakes/fakes.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <ctime>

namespace {

// Set before any thread could look: these functions are called while the program is still being loaded.
std::atomic<SystemCalls*> active{nullptr};

template <typename Function>
Function* Real(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <typename... Values>
std::string Join(const Values&... values)
{
    std::string text;
    ((text += (text.empty() ? "" : ", ") + values), ...);
    return text;
}

std::string Text(int number)
{
    return std::to_string(number);
}

// For functions that return an error number: the scripted one, or what `real` gives.
template <typename Call>
int ErrorNumber(const char* function, const Call& real)
{
    if (SystemCalls* const calls = active) {
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
    if (SystemCalls* const calls = active) {
        if (const auto scripted = calls->Script(function, arguments)) {
            errno = scripted->error;
            return scripted->result;
        }
    }
    return real();
}

int RealEpollWait(int epollFd, epoll_event* events, int capacity, int milliseconds)
{
    static auto* const real = Real<decltype(::epoll_wait)>("epoll_wait");
    return real(epollFd, events, capacity, milliseconds);
}

int RealClose(int descriptor)
{
    static auto* const real = Real<decltype(::close)>("close");
    return real(descriptor);
}

bool IsReadable(int epollFd)
{
    pollfd descriptor = {epollFd, POLLIN, 0};
    return poll(&descriptor, 1, 0) > 0;
}

// The undefined-behaviour sanitizer probes memory through pipes of its own.
bool IsSanitizers(const void* caller)
{
    Dl_info place = {};
    return dladdr(caller, &place) != 0 && std::strstr(place.dli_fname, "san.so") != nullptr;
}

} // namespace

// The functions of the system. Visible, so that shared libraries find them.

#define SYSTEM_CALL extern "C" __attribute__((visibility("default")))

SYSTEM_CALL int epoll_create(int size) noexcept
{
    static auto* const real = Real<decltype(::epoll_create)>("epoll_create");
    const int epollFd = Result("epoll_create", Text(size), [&] { return real(size); });
    if (SystemCalls* const calls = active) {
        calls->EpollCreated(epollFd);
    }
    return epollFd;
}

SYSTEM_CALL int epoll_ctl(int epollFd, int operation, int descriptor, epoll_event* event) noexcept
{
    static auto* const real = Real<decltype(::epoll_ctl)>("epoll_ctl");
    const std::string name = operation == EPOLL_CTL_ADD ? "EPOLL_CTL_ADD" : Text(operation);
    const std::string events = event == nullptr ? "none" : std::to_string(event->events);
    return Result("epoll_ctl", Join(Text(epollFd), name, Text(descriptor), events),
                  [&] { return real(epollFd, operation, descriptor, event); });
}

SYSTEM_CALL int epoll_wait(int epollFd, epoll_event* events, int capacity, int milliseconds)
{
    if (SystemCalls* const calls = active) {
        return calls->Wait(epollFd, events, capacity, milliseconds);
    }
    return RealEpollWait(epollFd, events, capacity, milliseconds);
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
                              : command == F_SETFL ? Join(std::string("F_SETFL"), Text(number))
                                                   : Text(command);
    return Result("fcntl", Join(Text(descriptor), words), [&] { return real(descriptor, command, argument); });
}

SYSTEM_CALL int close(int descriptor)
{
    return Result("close", Text(descriptor), [&] { return RealClose(descriptor); });
}

SYSTEM_CALL int sem_wait(sem_t* semaphore)
{
    static auto* const real = Real<decltype(::sem_wait)>("sem_wait");
    return Result("sem_wait", "", [&] { return real(semaphore); });
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
    if (SystemCalls* const calls = active) {
        calls->Wiping(std::string(static_cast<const char*>(bytes), size));
    }
    real(bytes, size);
}

boost::chrono::steady_clock::time_point boost::chrono::steady_clock::now() BOOST_NOEXCEPT
{
    if (SystemCalls* const calls = active) {
        return calls->Now();
    }
    timespec reading = {};
    clock_gettime(CLOCK_MONOTONIC, &reading);
    return time_point(boost::chrono::seconds(reading.tv_sec) + boost::chrono::nanoseconds(reading.tv_nsec));
}

// The script.

SystemCalls::SystemCalls()
{
    active = this;
}

SystemCalls::~SystemCalls()
{
    active = nullptr;
}

void SystemCalls::Fail(const std::string& function, int error, int others)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_scripts[function].push_back({others, -1, error});
}

void SystemCalls::Answer(const std::string& function, int result, int others)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_scripts[function].push_back({others, result, 0});
}

std::vector<std::string> SystemCalls::Calls() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_calls;
}

void SystemCalls::Forget()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_calls.clear();
    m_waits.clear();
    m_wipes.clear();
    m_clockReads = 0;
}

int SystemCalls::Count(const std::string& function) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return static_cast<int>(std::count_if(m_calls.begin(), m_calls.end(), [&](const std::string& call) {
        return call.compare(0, function.size() + 1, function + "(") == 0;
    }));
}

std::vector<int> SystemCalls::Waits() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_waits;
}

int SystemCalls::ClockReads() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_clockReads;
}

std::vector<std::string> SystemCalls::Wipes() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_wipes;
}

void SystemCalls::OnWait(const std::function<void(int)>& step)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_onWait = step;
}

void SystemCalls::OnClockRead(const std::function<void()>& step)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_onClockRead = step;
}

void SystemCalls::PassTime(const boost::chrono::nanoseconds& duration)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    Fakes::Clock().Advance(duration);
    for (const auto& [epollFd, sleeper] : m_sleepers) {
        eventfd_write(sleeper.alarm, 1);
    }
}

void SystemCalls::AwaitSleep()
{
    std::unique_lock<std::mutex> guard(m_lock);
    m_fellAsleep.wait(guard, [this] { return IsLatestLoopAsleep(); });
}

bool SystemCalls::IsLatestLoopAsleep() const
{
    const auto sleeper = m_sleepers.find(m_latestEpoll);
    if (sleeper == m_sleepers.end() || IsReadable(m_latestEpoll)) {
        return false;
    }
    return !sleeper->second.due || *sleeper->second.due > Fakes::Clock().SteadyNow();
}

std::optional<SystemCalls::Scripted> SystemCalls::Script(const std::string& function, const std::string& arguments)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_calls.push_back(function + "(" + arguments + ")");
    std::optional<Scripted> scripted;
    auto& scripts = m_scripts[function];
    for (auto script = scripts.begin(); script != scripts.end();) {
        if (script->others > 0) {
            --script->others;
            ++script;
        } else if (!scripted) {
            scripted = *script;
            script = scripts.erase(script);
        } else {
            ++script; // it is the next call's
        }
    }
    return scripted;
}

void SystemCalls::EpollCreated(int epollFd)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_latestEpoll = epollFd;
}

int SystemCalls::Wait(int epollFd, epoll_event* events, int capacity, int milliseconds)
{
    const auto scripted = Script("epoll_wait", Join(Text(epollFd), Text(capacity), Text(milliseconds)));
    std::function<void(int)> step;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_waits.push_back(milliseconds);
        step = m_onWait;
    }
    if (step) {
        step(milliseconds);
    }
    if (scripted) {
        errno = scripted->error;
        return scripted->result;
    }
    const int ready = RealEpollWait(epollFd, events, capacity, 0);
    return step || ready != 0 ? ready : Sleep(epollFd, events, capacity, milliseconds);
}

int SystemCalls::Sleep(int epollFd, epoll_event* events, int capacity, int milliseconds)
{
    Sleeper self;
    self.alarm = eventfd(0, 0);
    if (milliseconds >= 0) {
        self.due = Fakes::Clock().SteadyNow() + boost::chrono::milliseconds(milliseconds);
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_sleepers[epollFd] = self;
        m_fellAsleep.notify_all();
    }
    int ready = 0;
    while (ready == 0 && (!self.due || *self.due > Fakes::Clock().SteadyNow())) {
        std::array<pollfd, 2> descriptors = {{{epollFd, POLLIN, 0}, {self.alarm, POLLIN, 0}}};
        poll(descriptors.data(), descriptors.size(), -1);
        if (descriptors[1].revents != 0) {
            eventfd_t rings = 0;
            eventfd_read(self.alarm, &rings);
        }
        ready = RealEpollWait(epollFd, events, capacity, 0);
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_sleepers.erase(epollFd);
    }
    RealClose(self.alarm);
    return ready;
}

void SystemCalls::Wiping(const std::string& bytes)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_wipes.push_back(bytes);
}

boost::chrono::steady_clock::time_point SystemCalls::Now()
{
    std::function<void()> step;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        ++m_clockReads;
        step.swap(m_onClockRead);
    }
    if (step) {
        step();
    }
    return Fakes::Clock().SteadyNow();
}

#include "tests/unit/system_calls.h"

#include "tests/fakes/fakes.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>

namespace {

// Set before any code runs: the functions are called while the program is still being loaded.
std::atomic<SystemCalls*> active{nullptr};

bool IsReadable(int epollFd)
{
    pollfd descriptor = {epollFd, POLLIN, 0};
    return poll(&descriptor, 1, 0) > 0;
}

} // namespace

SystemCalls* SystemCalls::Active()
{
    return active;
}

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

std::vector<SystemCalls::Wipe> SystemCalls::Wipes() const
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

void SystemCalls::OnSemaphore(const std::function<void()>& step)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_onSemaphore = step;
}

void SystemCalls::SemaphoreTaken()
{
    std::function<void()> step;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        step.swap(m_onSemaphore);
    }
    if (step) {
        step();
    }
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
    const auto scripted = Script("epoll_wait", std::to_string(epollFd) + ", " + std::to_string(capacity) + ", " +
                                                   std::to_string(milliseconds));
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
    const int ready = RealCalls::EpollWait(epollFd, events, capacity, 0);
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
        ready = RealCalls::EpollWait(epollFd, events, capacity, 0);
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_sleepers.erase(epollFd);
    }
    RealCalls::Close(self.alarm);
    return ready;
}

void SystemCalls::Wiping(const Wipe& wipe)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_wipes.push_back(wipe);
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

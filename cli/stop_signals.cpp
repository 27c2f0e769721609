#include "cli/stop_signals.h"

#include "cli/farewell.h"
#include "cli/report.h"
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
#include "framework/public/running_commands.h"
#endif

#include <unistd.h>

#include <cstring>
#include <iostream>

namespace {

constexpr std::chrono::seconds TIME_TO_END{1};
constexpr std::chrono::seconds FAREWELL{1};
constexpr std::chrono::seconds GRACE_OF_COMMANDS{5};
constexpr int FIRST_SIGNAL_STATUS = 128;

// Wakes the thread when there is nothing more to wait for.
constexpr int WAKE_UP = SIGUSR2;

} // namespace

StopSignals::StopSignals()
{
    sigemptyset(&m_signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, WAKE_UP}) {
        sigaddset(&m_signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &m_signals, nullptr);
    m_thread = std::thread([this] { Watch(); });
}

StopSignals::~StopSignals()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_all();
    pthread_kill(m_thread.native_handle(), WAKE_UP);
    m_thread.join();
}

bool StopSignals::WaitFor(const boost::chrono::seconds& duration)
{
    std::unique_lock<std::mutex> guard(m_mutex);
    m_endsByItself = true;
    return m_changed.wait_for(guard, std::chrono::seconds(duration.count()), [this] { return m_signal != 0; });
}

void StopSignals::Watch()
{
    int signal = 0;
    while (sigwait(&m_signals, &signal) != 0) {
    }
    std::unique_lock<std::mutex> guard(m_mutex);
    if (m_isOver) {
        return;
    }
    m_signal = signal;
    m_changed.notify_all();
    if (m_endsByItself && m_changed.wait_for(guard, TIME_TO_END, [this] { return m_isOver; })) {
        return;
    }
    guard.unlock();
    Leave(signal);
}

void StopSignals::Leave(int signal)
{
    Report::Step(std::string("ended by SIG") + sigabbrev_np(signal));
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
    std::thread commands([] { OpenFramework::EndRunningCommands(GRACE_OF_COMMANDS); });
#endif
    Farewell::SayAll(FAREWELL);
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
    commands.join();
#endif
    std::cout << std::flush;
    ::_exit(FIRST_SIGNAL_STATUS + signal); // other threads are in the middle of their work
}

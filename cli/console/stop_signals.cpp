#include "cli/console/stop_signals.h"

#include "cli/console/exit_code.h"
#include "cli/console/farewell.h"
#include "cli/console/json_answer.h"
#include "cli/console/remedies.h"
#include "cli/console/report.h"
#include "cli/console/within.h"
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
#include "framework/public/running_commands.h"
#endif

#include <unistd.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr std::chrono::seconds TIME_TO_END{1};
constexpr std::chrono::seconds FAREWELL{1};
constexpr std::chrono::milliseconds TIME_TO_TELL{200}; // whoever reads may have stopped to
constexpr std::chrono::seconds GRACE_OF_COMMANDS{5};
constexpr int FIRST_SIGNAL_STATUS = 128;

// One of the node's that the command waits for; empty for none.
std::string RunningProgram()
{
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
    const std::vector<std::string> programs = OpenFramework::RunningPrograms();
    return programs.empty() ? "" : programs.front();
#else
    return {};
#endif
}

// Wakes the thread when there is nothing more to wait for.
constexpr int WAKE_UP = SIGUSR2;

} // namespace

StopSignals::StopSignals(std::optional<std::chrono::seconds> limit)
    : m_limit(limit)
{
    sigemptyset(&m_signals);
    sigaddset(&m_signals, WAKE_UP);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        // One that is ignored from the start, as under nohup, is not to end anything.
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) {
            sigaddset(&m_signals, signal);
        }
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

void StopSignals::EndByItself()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_endsByItself = true;
}

bool StopSignals::WaitFor(const boost::chrono::seconds& duration)
{
    std::unique_lock<std::mutex> guard(m_mutex);
    m_endsByItself = true;
    return m_changed.wait_for(guard, std::chrono::seconds(duration.count()), [this] { return m_signal != 0; });
}

// The signal that came, or 0 when the limit was reached before.
int StopSignals::Await() const
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + m_limit.value_or(std::chrono::seconds::zero());
    for (;;) {
        int signal = 0;
        if (!m_limit) {
            if (sigwait(&m_signals, &signal) == 0) {
                return signal;
            }
            continue;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) {
            return 0;
        }
        const timespec wait = {left / 1000, left % 1000 * 1000000};
        signal = sigtimedwait(&m_signals, nullptr, &wait);
        if (signal > 0) {
            return signal;
        }
    }
}

void StopSignals::Watch()
{
    const int signal = Await();
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

// Of no signal: the limit was reached.
void StopSignals::TellWhy(int signal, int status) const
{
    EndsWithin(TIME_TO_TELL, [signal, status, limit = m_limit, program = RunningProgram()] {
        const std::string place =
            ", at the step: " + Report::LastStep() + (program.empty() ? "" : "; " + program + " was running");
        std::string cause;
        std::string remedy;
        if (signal != 0) {
            cause = std::string("ended by SIG") + sigabbrev_np(signal) + place;
            remedy = "run the command again; it goes on from what was done";
        } else {
            cause = "given up after " + std::to_string(limit->count()) + " s" + place;
            remedy = program.empty() ? RemedyFor(cause, ExitCode::Unreachable)
                                     : "give more time with --timeout; where it hangs again, see by ps what the "
                                       "command waits for, and try it by hand";
        }
        Report::LastWords(cause, remedy);
        JsonAnswer::PrintLast(cause, remedy, status);
    });
}

void StopSignals::Leave(int signal) const
{
    const int status = signal != 0 ? FIRST_SIGNAL_STATUS + signal : static_cast<int>(ExitCode::Unreachable);
    TellWhy(signal, status);
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
    std::thread commands([] { OpenFramework::EndRunningCommands(GRACE_OF_COMMANDS); });
#endif
    Farewell::SayAll(FAREWELL);
#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
    commands.join();
#endif
    EndsWithin(TIME_TO_TELL, [] { std::cout << std::flush; });
    ::_exit(status); // other threads are in the middle of their work
}

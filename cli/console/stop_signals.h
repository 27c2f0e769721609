#ifndef PRODUCT_STORAGE_CLI_CONSOLE_STOP_SIGNALS_H
#define PRODUCT_STORAGE_CLI_CONSOLE_STOP_SIGNALS_H

#include <boost/chrono/duration.hpp>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <optional>
#include <thread>

/// Ends the process on SIGINT, SIGTERM or SIGHUP, at any moment and soon: what is registered as Farewell is done for at
/// most a second, commands that run have five seconds of grace, and the status is 128 and the signal's number. A
/// command that goes round may wait for the signal instead, and end by itself. Made on the main thread before any other
/// thread, which inherits that the signals are blocked.
class StopSignals {
public:
    /// With a limit the process is ended after it as by a signal, but with the status of what came too late, and tells
    /// what it was about.
    explicit StopSignals(std::optional<std::chrono::seconds> limit = std::nullopt);
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// From then on no signal ends the process: it is about to end.
    ~StopSignals();

    /// From now on the command has a second after a signal to come to WaitFor and end.
    void EndByItself();

    /// True as soon as a signal came, false when none did for `duration`. The command ends by itself from the first
    /// call on.
    bool WaitFor(const boost::chrono::seconds& duration);

private:
    void Watch();
    int Await() const;
    void TellWhy(int signal, int status) const;
    [[noreturn]] void Leave(int signal) const;

    const std::optional<std::chrono::seconds> m_limit;

    sigset_t m_signals = {};
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_signal = 0;            // guarded by m_mutex; the one that came
    bool m_endsByItself = false; // guarded by m_mutex
    bool m_isOver = false;       // guarded by m_mutex
    std::thread m_thread;        // last: it uses the others
};

#endif

#ifndef PRODUCT_STORAGE_CLI_STOP_SIGNALS_H
#define PRODUCT_STORAGE_CLI_STOP_SIGNALS_H

#include <boost/chrono/duration.hpp>

#include <csignal>

/// SIGINT and SIGTERM as something to wait for instead of an end of the process. Made on the main thread before any
/// other thread, which inherits that they are blocked.
class StopSignals {
public:
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// True as soon as one of them came, false when none did for `duration`.
    bool WaitFor(const boost::chrono::seconds& duration) const;

private:
    sigset_t m_signals = {};
    sigset_t m_previous = {};
};

#endif

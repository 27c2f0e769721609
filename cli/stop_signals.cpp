#include "cli/stop_signals.h"

#include <boost/chrono/system_clocks.hpp>

#include <cerrno>
#include <ctime>

StopSignals::StopSignals()
{
    sigemptyset(&m_signals);
    sigaddset(&m_signals, SIGINT);
    sigaddset(&m_signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_signals, &m_previous);
}

StopSignals::~StopSignals()
{
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
}

bool StopSignals::WaitFor(const boost::chrono::seconds& duration) const
{
    const auto end = boost::chrono::steady_clock::now() + duration;
    for (;;) {
        const boost::chrono::nanoseconds left = end - boost::chrono::steady_clock::now();
        const boost::chrono::nanoseconds wait = left > left.zero() ? left : left.zero();
        const auto seconds = boost::chrono::duration_cast<boost::chrono::seconds>(wait);
        timespec timeout = {};
        timeout.tv_sec = seconds.count();
        timeout.tv_nsec = (wait - seconds).count();
        if (sigtimedwait(&m_signals, nullptr, &timeout) > 0) {
            return true;
        }
        if (errno != EINTR) {
            return false;
        }
    }
}

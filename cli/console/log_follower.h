#ifndef PRODUCT_STORAGE_CLI_CONSOLE_LOG_FOLLOWER_H
#define PRODUCT_STORAGE_CLI_CONSOLE_LOG_FOLLOWER_H

#include "cli/console/log_tail.h"

#include <condition_variable>
#include <mutex>
#include <thread>

/// Prints failures as they are logged, while it lives: for a command whose calls wait and try again for so long that
/// one would wonder. The log is its alone meanwhile.
class LogFollower {
public:
    explicit LogFollower(LogTail& log);
    LogFollower(const LogFollower&) = delete;
    LogFollower& operator=(const LogFollower&) = delete;

    /// What was logged until then is printed when one of these returns.
    void PrintNow();
    ~LogFollower();

private:
    void Follow();

    std::mutex m_lock;
    LogTail& m_log; // guarded by m_lock
    std::condition_variable m_end;
    bool m_isEnding = false; // guarded by m_lock
    std::thread m_thread;    // last: it uses the others
};

#endif

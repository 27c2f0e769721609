#ifndef PRODUCT_STORAGE_CLI_CONSOLE_FAREWELL_H
#define PRODUCT_STORAGE_CLI_CONSOLE_FAREWELL_H

#include <chrono>
#include <functional>

/// What must not be left undone when a signal ends the process in the middle of a command: while it lives, it is done
/// then, on another thread.
class Farewell {
public:
    explicit Farewell(std::function<void()> action);
    Farewell(const Farewell&) = delete;
    Farewell& operator=(const Farewell&) = delete;

    /// Once the process is being ended, this does not return.
    ~Farewell();

    /// Does all that is registered, the latest first, each on a thread of its own, and waits for them for at most
    /// `limit`. Once, by whoever then leaves the process.
    static void SayAll(std::chrono::milliseconds limit);

private:
    std::function<void()> m_action;
};

#endif

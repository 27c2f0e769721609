#ifndef PRODUCT_STORAGE_BASE_SERVICE_MANAGER_H
#define PRODUCT_STORAGE_BASE_SERVICE_MANAGER_H

#include <chrono>
#include <optional>
#include <string>

namespace Base {

/// The service manager that started this process, as far as it wants to be told how it goes: systemd's notification
/// protocol, one datagram a message. Telling never waits and never fails visibly: a service does not depend on who
/// looks after it. Any thread.
class ServiceManager {
public:
    /// As the environment says: NOTIFY_SOCKET, a path or, with @ in front, an abstract name; WATCHDOG_USEC and
    /// WATCHDOG_PID.
    ServiceManager();

    bool IsThere() const noexcept { return !m_address.empty(); }

    /// Sends assignments, a line each: "READY=1", "STATUS=…".
    void Tell(const std::string& assignments) const;

    /// In what time it wants to hear WATCHDOG=1, again and again; nothing when it does not watch this process.
    std::optional<std::chrono::microseconds> WatchdogLimit() const noexcept { return m_watchdogLimit; }

private:
    std::string m_address; ///< of the socket, as the kernel has it; empty for none
    std::optional<std::chrono::microseconds> m_watchdogLimit;
};

/// Whether what is written there goes into the journal itself, as JOURNAL_STREAM says of the standard streams: there
/// each line may begin with its level, "<4>".
bool IsJournal(int descriptor);

} // namespace Base

#endif

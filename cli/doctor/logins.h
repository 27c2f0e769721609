#ifndef PRODUCT_STORAGE_CLI_DOCTOR_LOGINS_H
#define PRODUCT_STORAGE_CLI_DOCTOR_LOGINS_H

#include "cli/array/array_login.h"
#include "cli/console/exit_code.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

namespace Doctor {

/// An address was neither tried nor given up by the time that nobody waits beyond.
class NoLoginInTime : public std::runtime_error {
public:
    NoLoginInTime()
        : std::runtime_error("no login came about in time")
    {
    }
};

/// Logs in at each management address, and keeps a login at the first that bears it for all who ask the array. An array
/// that refuses user and password is not tried again at another address, nor is one that does not answer: it might lock
/// the user. Any thread may call.
class Logins {
public:
    using Clock = std::chrono::steady_clock;

    /// Nobody waits for anything beyond `deadline`. `name` names the environment.
    Logins(std::string name, EnvironmentPath env, Clock::time_point deadline);

    /// Why nothing came of a login.
    struct Failed {
        std::string cause;
        ExitCode exit;
    };

    /// Logs in at `address`, one of the environment's, and out again. Each address is tried, or given up, once. Nothing
    /// where it went well, and where no login was tried.
    std::optional<Failed> Try(const std::string& address);

    /// There is nothing at `address` that a login could be tried at.
    void GiveUp(const std::string& address);

    /// Waits for the login that is kept; null where none comes about. Throws NoLoginInTime.
    std::shared_ptr<const ArrayLogin> Await() const;

    /// The login that is kept by now; null where none is.
    std::shared_ptr<const ArrayLogin> Kept() const;

    /// The device id that the array told at each address, as soon as all were tried or given up. Throws NoLoginInTime.
    std::map<std::string, std::string> DeviceIds() const;

private:
    bool MayTry(const std::string& address);
    std::optional<Failed> LogInAt(const std::string& address, const std::string& password);
    void CountOff(const std::string& address);

    const std::string m_name;
    const EnvironmentPath m_env;
    const Clock::time_point m_deadline;
    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    std::size_t m_left;                             // guarded by m_lock; addresses that are neither tried nor given up
    bool m_isFirstOver = false;                     // guarded by m_lock
    std::string m_trying;                           // guarded by m_lock; the address of a login that is under way
    bool m_isRefused = false;                       // guarded by m_lock
    bool m_isKeeping = false;                       // guarded by m_lock; somebody is at the login that is kept
    std::shared_ptr<const ArrayLogin> m_login;      // guarded by m_lock
    std::map<std::string, std::string> m_deviceIds; // guarded by m_lock
};

/// The environment's management addresses, that to log in at first, each once.
std::vector<std::string> ManagementAddresses(const EnvironmentPath& env);

} // namespace Doctor

#endif

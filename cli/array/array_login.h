#ifndef PRODUCT_STORAGE_CLI_ARRAY_ARRAY_LOGIN_H
#define PRODUCT_STORAGE_CLI_ARRAY_ARRAY_LOGIN_H

#include "base/secret.h"
#include "cli/console/exit_code.h"
#include "cli/console/farewell.h"
#include "common/framework/product_messages.pb.h"
#include "common/records.h"

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <atomic>
#include <mutex>
#include <string>

class ZavRestApi;

/// What a login ends with that the array answered with `code`, or that got no answer. An answer that can be read and is
/// no session is a refusal of user and password, unless it is known to be about something else. What passes by itself
/// must not be that: a watch waits for another environment then.
ExitCode ExitCodeOfLogin(int code);

/// A login into an environment's array for the length of a command: logged out, and its password wiped, at the end.
class ArrayLogin {
public:
    /// Logs in and says where. Throws Failure when no management address takes the login; `name` names the environment.
    ArrayLogin(const std::string& name, const EnvironmentPath& env);
    ArrayLogin(const ArrayLogin&) = delete;
    ArrayLogin& operator=(const ArrayLogin&) = delete;
    ~ArrayLogin();

    /// The id under which the array's record is kept.
    const std::string& DeviceId() const noexcept { return m_deviceId; }
    const Zav::DeviceInfo& Device() const noexcept { return m_device; }

    /// The session, from the library's cache. Hold it no longer than needed: one that is held never expires.
    boost::shared_ptr<ZavRestApi> Api() const;

    /// The same, for work that the library logs in for as well: where the session has ended, another one at the first
    /// of the environment's addresses that bears one, which Device() tells from then on. Where the first refuses user
    /// and password, no other is asked. Throws Failure. No other thread may ask Device() meanwhile.
    boost::shared_ptr<ZavRestApi> Renew(const std::string& name, const EnvironmentPath& env);

private:
    enum class State { LoggedOut, LoggingIn, LoggedIn, LoggingOut, Ended };

    boost::shared_ptr<ZavRestApi> LogIn(const std::string& name, const EnvironmentPath& env);
    void ReadDevice(const std::string& name, ZavRestApi& api);
    void LogOut();
    void LogOutAtTheEnd();
    boost::shared_ptr<ZavRestApi> LastSession() const;

    Zav::DeviceInfo m_device;
    const Secret::ScopedWipe m_wipePassword{m_device.password};
    std::string m_deviceId;
    std::atomic<State> m_state = State::LoggedOut;
    mutable std::mutex m_sessionLock;              // held while a session is taken, too
    mutable boost::weak_ptr<ZavRestApi> m_session; // guarded by m_sessionLock; the last, which the library may end
    const Farewell m_farewell{[this] { LogOutAtTheEnd(); }}; // last: it uses the others
};

#endif

#include "cli/doctor/logins.h"

#include "base/secret.h"
#include "cli/console/failure.h"
#include "common/environment.h"
#include "common/framework/security.h"
#include "common/result_codes.h"
#include "common/secret_session.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <utility>

namespace Doctor {

namespace {

constexpr std::chrono::seconds TURN_OF_THE_FIRST{2}; // a user must not be locked, nor all wait for one that is dead

/// Does what is to be done where a scope is left, whatever it is left by.
template <typename Work>
class AtEnd {
public:
    explicit AtEnd(Work work)
        : m_work(std::move(work))
    {
    }

    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() { m_work(); }

private:
    const Work m_work;
};

} // namespace

Logins::Logins(std::string name, EnvironmentPath env, Clock::time_point deadline)
    : m_name(std::move(name))
    , m_env(std::move(env))
    , m_deadline(deadline)
    , m_left(ManagementAddresses(m_env).size())
{
}

std::optional<Logins::Failed> Logins::Try(const std::string& address)
{
    std::string password;
    const Secret::ScopedWipe wipePassword(password);
    const AtEnd countOff([&] { CountOff(address); }); // which the others wait for
    if (MayTry(address) && Environment::MissingList(m_env) == nullptr &&
        SecuritySS::ZelkDecryptInfo(m_env.encrypted_passwords(0), password)) {
        return LogInAt(address, password);
    }
    return std::nullopt;
}

// The first address goes first: what it says of user and password holds for all.
bool Logins::MayTry(const std::string& address)
{
    std::unique_lock<std::mutex> guard(m_lock);
    if (address != m_env.management_ips(0)) {
        m_changed.wait_for(guard, TURN_OF_THE_FIRST, [this] { return m_isFirstOver; });
    }
    m_changed.wait_for(guard, TURN_OF_THE_FIRST, [this] { return m_trying.empty() || m_isRefused; }); // one at a time
    // Until one of them was answered nobody knows whether the next is a wrong password once more.
    const bool isAnswered = m_changed.wait_until(
        guard, m_deadline, [this] { return m_trying.empty() || !m_deviceIds.empty() || m_isRefused; });
    if (!isAnswered || m_isRefused) {
        return false;
    }
    m_trying = address;
    return true;
}

std::optional<Logins::Failed> Logins::LogInAt(const std::string& address, const std::string& password)
{
    EnvironmentPath env = m_env;
    env.set_management_ips(0, address);
    Zav::DeviceInfo device;
    Environment::FillDeviceInfo(env, device);
    ZavRestApi api(device.restApiArgument);
    std::string errorText;
    const int code = api.Login(device.url, device.user, password, errorText);
    if (code != ResultCode::OK) {
        const ExitCode exit = ExitCodeOfLogin(code);
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isRefused = m_isRefused || exit == ExitCode::LoginRefused;
        return Failed{"no login at " + device.url + ReasonOf(errorText, code), exit};
    }
    SecretSession session;
    api.GetSession(session);
    api.Logout(errorText);
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_deviceIds[address] = session.deviceId;
        m_changed.notify_all();
        if (m_login != nullptr || std::exchange(m_isKeeping, true)) {
            return std::nullopt;
        }
    }
    const AtEnd isOver([this] { // where nothing came of it, the next address may
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isKeeping = false;
    });
    try {
        const auto login = std::make_shared<const ArrayLogin>(m_name, env);
        const std::lock_guard<std::mutex> guard(m_lock);
        m_login = login;
        m_changed.notify_all();
    } catch (const Failure& failure) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isRefused = m_isRefused || failure.Code() == ExitCode::LoginRefused;
        return Failed{failure.what(), failure.Code()};
    }
    return std::nullopt;
}

void Logins::GiveUp(const std::string& address)
{
    CountOff(address);
}

void Logins::CountOff(const std::string& address)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    --m_left;
    if (m_trying == address) {
        m_trying.clear();
    }
    m_isFirstOver = m_isFirstOver || address == m_env.management_ips(0);
    m_changed.notify_all();
}

std::shared_ptr<const ArrayLogin> Logins::Await() const
{
    std::unique_lock<std::mutex> guard(m_lock);
    if (!m_changed.wait_until(guard, m_deadline, [this] { return m_login != nullptr || m_left == 0; })) {
        throw NoLoginInTime();
    }
    return m_login;
}

std::shared_ptr<const ArrayLogin> Logins::Kept() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_login;
}

std::map<std::string, std::string> Logins::DeviceIds() const
{
    std::unique_lock<std::mutex> guard(m_lock);
    if (!m_changed.wait_until(guard, m_deadline, [this] { return m_left == 0; })) {
        throw NoLoginInTime();
    }
    return m_deviceIds;
}

std::vector<std::string> ManagementAddresses(const EnvironmentPath& env)
{
    std::vector<std::string> addresses;
    if (!env.management_ips().empty() && !env.management_ips(0).empty()) {
        addresses.push_back(env.management_ips(0));
        for (const std::string& other : Environment::OtherManagementIps(env)) {
            if (std::find(addresses.begin(), addresses.end(), other) == addresses.end()) {
                addresses.push_back(other);
            }
        }
    }
    return addresses;
}

} // namespace Doctor

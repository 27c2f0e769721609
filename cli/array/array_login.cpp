#include "cli/array/array_login.h"

#include "base/secret.h"
#include "cli/array/session_limit_wait.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "common/environment.h"
#include "common/framework/random_bytes.h"
#include "common/framework/security.h"
#include "common/result_codes.h"
#include "common/secret_session.h"
#include "device/device_info_record.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/secret_request.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/thread/thread_only.hpp>

#include <exception>
#include <vector>

namespace {

constexpr int LOGOUT_TRIES = 4;
constexpr boost::chrono::milliseconds LOGOUT_PAUSE(250);

// Ends the session, and asks again for a second when the array did not do it: one that is left counts against the
// array's limit for long.
void EndSession(ZavRestApi& api)
{
    std::string errorText;
    int code = api.Logout(errorText);
    for (int i = 1; i < LOGOUT_TRIES && code != ResultCode::OK && code != ArrayCode::SESSION_LAPSED; ++i) {
        boost::this_thread::sleep_for(LOGOUT_PAUSE);
        SecretRequest request; // to the library it is logged out already
        request.method = "DELETE";
        api.BuildBaseRequest(request, "sessions");
        Json::Value data;
        code = api.SendAndParseRsp(request, data, errorText, false);
    }
    if (code != ResultCode::OK && code != ArrayCode::SESSION_LAPSED) {
        Report::Tell("the session is left to the array, which did not end it: " + errorText);
    }
}

// The library ends a session that lay idle.
bool IsLoggedInStill(const boost::weak_ptr<ZavRestApi>& last)
{
    const boost::shared_ptr<ZavRestApi> api = last.lock();
    SecretSession session;
    return api != nullptr && api->GetSession(session);
}

// The limit of sessions is the array's, and a refusal is nothing to be repeated: it might lock the user.
bool IsWorthAnotherAddress(int code)
{
    return code != ArrayCode::SESSION_LIMIT_REACHED && ExitCodeOfLogin(code) != ExitCode::LoginRefused &&
           ZavStorageDiskLib::GetInstance()->CheckIfNeedToRetry(code);
}

} // namespace

ExitCode ExitCodeOfLogin(int code)
{
    switch (code) {
    case ResultCode::FAILED:
    case ArrayCode::SESSION_LAPSED:
    case ArrayCode::INTERNAL_ERROR:
    case ArrayCode::SYSTEM_BUSY:
    case ArrayCode::SYSTEM_NOT_READY:
    case ArrayCode::SESSION_LIMIT_REACHED:
        return ExitCode::Refused;
    default:
        const ExitCode exit = ExitCodeOf(code);
        return exit == ExitCode::Refused ? ExitCode::LoginRefused : exit;
    }
}

ArrayLogin::ArrayLogin(const std::string& name, const EnvironmentPath& env)
{
    if (const char* const missing = Environment::MissingList(env)) {
        throw Failure(ExitCode::Unusable, name + ": the environment has no " + missing);
    }
    const std::string& address = env.management_ips(0);
    Report::Step(name + ": logging into the array at " + address);
    if (!SecuritySS::ZelkDecryptInfo(env.encrypted_passwords(0), m_device.password)) {
        throw Failure::OfLibrary(name + ": the encrypted password of user " + env.user_names(0) +
                                     " cannot be decrypted",
                                 ExitCode::Unusable);
    }
    Environment::FillDeviceInfo(env, m_device);
    const boost::shared_ptr<ZavRestApi> api = LogIn(name, env);
    try {
        ReadDevice(name, *api);
    } catch (...) {
        LogOut();
        throw;
    }
}

// At the address of the environment, then at the array's others.
boost::shared_ptr<ZavRestApi> ArrayLogin::LogIn(const std::string& name, const EnvironmentPath& env)
{
    ZavStorageDiskLib& keeper = *ZavStorageDiskLib::GetInstance();
    SessionLimitWait wait;
    bool isTold = false;
    for (;;) {
        boost::shared_ptr<ZavRestApi> api;
        std::string errorText;
        State expected = State::LoggedOut;
        if (!m_state.compare_exchange_strong(expected, State::LoggingIn)) {
            throw Failure(ExitCode::Unreachable, name + ": no login: the process is about to end");
        }
        int code = keeper.GetLoginedZavRestApi(m_device, api, errorText);
        const std::string reason = ReasonOf(errorText, code);    // of the first address
        const std::string number = NumberGiven(errorText, code); // likewise
        const bool isFull = code == ArrayCode::SESSION_LIMIT_REACHED;
        if (keeper.CheckIfNeedToRetry(code)) {
            const int others = keeper.TryToGetAValidMgmtIP(env, m_device, api, errorText);
            code = others == ResultCode::FAILED ? code : others; // there was none
        }
        if (isFull && api == nullptr) { // it is the same array, at an address that is dead or as full
            code = ArrayCode::SESSION_LIMIT_REACHED;
        }
        if (api != nullptr) {
            const std::lock_guard<std::mutex> guard(m_sessionLock);
            m_session = api;
        }
        m_state = api == nullptr ? State::LoggedOut : State::LoggedIn;
        if (api != nullptr) {
            return api;
        }
        unsigned char chance = 0;
        getRandBytes(&chance, sizeof chance);
        const auto pause = code == ArrayCode::SESSION_LIMIT_REACHED ? wait.Next(chance) : std::nullopt;
        if (!pause) {
            throw Failure::OfLogin(name + ": cannot log into the array at " + env.management_ips(0) + reason,
                                   ExitCodeOfLogin(code), number);
        }
        if (!isTold) {
            Report::Step(name + ": as many sessions as the array takes stand on it: waiting for one to end");
        }
        isTold = true;
        boost::this_thread::sleep_for(*pause);
    }
}

void ArrayLogin::ReadDevice(const std::string& name, ZavRestApi& api)
{
    std::string errorText;
    SecretSession session;
    api.GetSession(session);
    m_deviceId = session.deviceId;
    if (!DeviceInfoRecord::CanNameAFile(m_deviceId)) {
        throw Failure(ExitCode::Refused, name + ": the array at " + m_device.url + " has the device id \"" +
                                             m_deviceId +
                                             "\", which cannot name this node's record: 1 to 200 bytes without '/' "
                                             "and control characters can");
    }
    const int code = api.GetStorageIP(m_device.storageIps, errorText);
    if (code != ResultCode::OK) {
        throw Failure::OfRequest(ExitCodeOf(code),
                                 name + ": the array at " + m_device.url + " does not tell its service addresses",
                                 errorText, code);
    }
    Report::Step(name + ": logged in at " + m_device.url + ", service addresses " +
                 (m_device.storageIps.empty() ? "none" : boost::join(m_device.storageIps, ", ")));
}

// Null where the library ended it meanwhile, as one that lay idle. Waits for one that is being taken.
boost::shared_ptr<ZavRestApi> ArrayLogin::LastSession() const
{
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    return m_session.lock();
}

// Once, by whoever comes first: the command, or a signal that ends it. Nobody logs in to log out: the array may be gone
// by now, or refuse the password.
void ArrayLogin::LogOut()
{
    State expected = State::LoggedIn;
    if (!m_state.compare_exchange_strong(expected, State::LoggingOut)) {
        return;
    }
    try {
        if (const boost::shared_ptr<ZavRestApi> api = LastSession()) {
            EndSession(*api);
        }
    } catch (const std::exception& error) {
        Report::Tell(std::string("no logout: ") + error.what());
    }
    m_state = State::LoggedOut;
}

// By a signal, on another thread. A login that is under way brings a session yet, and a logout wants its answer.
void ArrayLogin::LogOutAtTheEnd()
{
    constexpr boost::chrono::milliseconds LOOK_EVERY(5);
    while (m_state == State::LoggingIn) {
        boost::this_thread::sleep_for(LOOK_EVERY);
    }
    LogOut();
    while (m_state == State::LoggingOut) {
        boost::this_thread::sleep_for(LOOK_EVERY);
    }
    State expected = State::LoggedOut; // no further login begins, as behind a pause
    m_state.compare_exchange_strong(expected, State::Ended);
}

ArrayLogin::~ArrayLogin()
{
    LogOut();
}

boost::shared_ptr<ZavRestApi> ArrayLogin::Api() const
{
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    const int code = ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(m_device, api, errorText);
    if (code != 0) {
        throw Failure::OfRequest(ExitCodeOfLogin(code), m_device.url + ": login refused", errorText, code);
    }
    m_session = api;
    return api;
}

boost::shared_ptr<ZavRestApi> ArrayLogin::Renew(const std::string& name, const EnvironmentPath& env)
{
    ZavStorageDiskLib& keeper = *ZavStorageDiskLib::GetInstance();
    const std::lock_guard<std::mutex> guard(m_sessionLock);
    if (m_state != State::LoggedIn) {
        throw Failure(ExitCode::Unreachable, name + ": no login: the process is about to end");
    }
    Zav::DeviceInfo device = m_device;
    const Secret::ScopedWipe wipePassword(device.password);
    if (!IsLoggedInStill(m_session)) {
        Environment::FillDeviceInfo(env, device); // from the first address on, as the library does
    }
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    int code = keeper.GetLoginedZavRestApi(device, api, errorText);
    const std::string reason = ReasonOf(errorText, code); // of the first address
    const std::string number = NumberGiven(errorText, code);
    if (api == nullptr && IsWorthAnotherAddress(code)) {
        const int others = keeper.TryToGetAValidMgmtIP(env, device, api, errorText);
        code = others == ResultCode::FAILED ? code : others; // there was none
    }
    if (api == nullptr) {
        throw Failure::OfLogin(name + ": cannot log into the array at " + env.management_ips(0) + reason,
                               ExitCodeOfLogin(code), number);
    }
    if (device.url != m_device.url) {
        m_device.url = device.url;
        Report::Step(name + ": logged in at " + device.url + " from now on");
    }
    m_session = api;
    return api;
}

#include "cli/array_login.h"

#include "base/secret.h"
#include "cli/failure.h"
#include "cli/report.h"
#include "common/environment.h"
#include "common/framework/security.h"
#include "common/result_codes.h"
#include "common/secret_session.h"
#include "device/device_set_operator.h"
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
void LogOut(ZavRestApi& api)
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
        Report::Step("the session is left to the array, which did not end it: " + errorText);
    }
}

/// Logs out at the end, unless somebody else will.
class Guard {
public:
    explicit Guard(ZavRestApi& api)
        : m_api(&api)
    {
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard()
    {
        if (m_api != nullptr) {
            LogOut(*m_api);
        }
    }
    void Release() noexcept { m_api = nullptr; }

private:
    ZavRestApi* m_api;
};

} // namespace

ArrayLogin::ArrayLogin(const std::string& name, const EnvironmentPath& env)
{
    if (const char* const missing = Environment::MissingList(env)) {
        throw Failure(ExitCode::BadInput, name + ": the environment has no " + missing);
    }
    const std::string& address = env.management_ips(0);
    Report::Step(name + ": logging into the array at " + address);
    if (!SecuritySS::ZelkDecryptInfo(env.encrypted_passwords(0), m_device.password)) {
        throw Failure(ExitCode::Failed, name + ": the encrypted password of user " + env.user_names(0) +
                                            " cannot be decrypted with this node's key");
    }
    Environment::FillDeviceInfo(env, m_device);
    ZavStorageDiskLib& keeper = *ZavStorageDiskLib::GetInstance();
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    m_state = State::LoggingIn;
    if (keeper.CheckIfNeedToRetry(keeper.GetLoginedZavRestApi(m_device, api, errorText))) {
        keeper.TryToGetAValidMgmtIP(env, m_device, api, errorText);
    }
    m_state = api == nullptr ? State::LoggedOut : State::LoggedIn;
    if (api == nullptr) {
        throw Failure(ExitCode::Failed,
                      name + ": cannot log into the array at " + address + (errorText.empty() ? "" : ": " + errorText));
    }
    Guard guard(*api);
    if (api->GetStorageIP(m_device.storageIps, errorText) != ResultCode::OK) {
        throw Failure(ExitCode::Failed,
                      name + ": the array at " + m_device.url + " does not tell its service addresses: " + errorText);
    }
    SecretSession session;
    api->GetSession(session);
    m_deviceId = session.deviceId;
    Report::Step(name + ": logged in at " + m_device.url + ", service addresses " +
                 (m_device.storageIps.empty() ? "none" : boost::join(m_device.storageIps, ", ")));
    guard.Release();
}

// By a signal, on another thread. A login that is under way brings a session yet.
void ArrayLogin::LogOutAtTheEnd()
{
    constexpr boost::chrono::milliseconds LOOK_EVERY(5);
    while (m_state == State::LoggingIn) {
        boost::this_thread::sleep_for(LOOK_EVERY);
    }
    if (m_state == State::LoggedIn) {
        LogOut(*Api());
    }
}

ArrayLogin::~ArrayLogin()
{
    try {
        LogOut(*Api());
    } catch (const std::exception& error) {
        Report::Step(std::string("no logout: ") + error.what());
    }
}

boost::shared_ptr<ZavRestApi> ArrayLogin::Api() const
{
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    const int code = ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(m_device, api, errorText);
    if (code != 0) {
        throw Failure(ExitCode::Failed,
                      m_device.url + ": login refused with code " + std::to_string(code) + ": " + errorText);
    }
    return api;
}

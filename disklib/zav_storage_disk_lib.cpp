#include "disklib/zav_storage_disk_lib.h"

#include "base/caught_text.h"
#include "base/secret.h"
#include "common/environment.h"
#include "common/framework/config_reader.h"
#include "common/framework/security.h"
#include "common/log.h"
#include "common/result_codes.h"
#include "common/secret_session.h"
#include "common/time_source.h"
#include "device/device_set_operator.h"
#include "rest/zav_rest_api.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <exception>
#include <memory>
#include <vector>

namespace {

const std::string LOG_MODULE = "ZavStorageDiskLib";

constexpr unsigned long CHECK_INTERVAL_MILLISECONDS = 1000;
constexpr boost::chrono::nanoseconds LONGEST_IDLE(4999999999); // a session expires from five seconds on

} // namespace

ZavStorageDiskLib* ZavStorageDiskLib::GetInstance()
{
    static ZavStorageDiskLib instance;
    return &instance;
}

ZavStorageDiskLib::ZavStorageDiskLib()
    : retryable_error_codes(RETRYABLE_CODES.begin(), RETRYABLE_CODES.end())
    , device_set_operator(DeviceSetOperator::GetDeviceSetOperator())
{
}

ZavStorageDiskLib::~ZavStorageDiskLib()
{
    try {
        ZavStorageDiskLib::StopCheckThread();
    } catch (const std::exception& error) {
        PS_LOG(4) << "Check session thread stop failed." << error.what();
    }
}

bool ZavStorageDiskLib::Init(const EnvironmentPath& env, ZavMapInfo& mapInfo)
{
    PS_TRACE();
    bool result = true;
    std::vector<Zav::DeviceInfo> devices = device_set_operator->GetAllDeviceInfo(env, result);
    if (!result) {
        PS_LOG(4) << "GetAllDeviceInfo failed.";
        return false;
    }
    for (Zav::DeviceInfo& device : devices) {
        const Secret::ScopedWipe wipePassword(device.password);
        result = InitDevice(device, mapInfo) && result;
    }
    return result;
}

bool ZavStorageDiskLib::InitDevice(const Zav::DeviceInfo& device, ZavMapInfo& mapInfo)
{
    boost::shared_ptr<ZavRestApi> api;
    std::string errMsg;
    if (GetLoginedZavRestApi(device, api, errMsg) != ResultCode::OK) {
        PS_LOG_AS("Init", 4) << "Get logined ZavRestApi object failed.";
        return false;
    }
    SecretSession session;
    if (!api->GetSession(session)) {
        PS_LOG_AS("Init", 4) << "Get logined session failed.";
        return false;
    }
    if (!device_set_operator->InitDeviceSet(session, device.storageIps, api, mapInfo)) {
        PS_LOG_AS("Init", 4) << "Init zav device failed.";
        return false;
    }
    return true;
}

void ZavStorageDiskLib::StopCheckThread()
{
    PS_TRACE();
    const boost::this_thread::disable_interruption untilJoined; // leaving now would destroy the loop under its thread
    boost::unique_lock<boost::recursive_mutex> guard(lock);
    if (check_thread.thread != nullptr && check_thread.message_loop != nullptr) {
        if (check_thread.thread->get_id() == boost::this_thread::get_id()) {
            TellToStop(*check_thread.message_loop);
            check_thread.thread->join(); // throws: thread and loop stay, for this is the thread that runs in them
        }
        const auto id = joined_threads.insert(check_thread.thread->get_id()).first;
        TellToStop(*check_thread.message_loop);
        const std::unique_ptr<boost::thread> thread = std::move(check_thread.thread);
        const std::unique_ptr<MessageLoop> loop = std::move(check_thread.message_loop);
        guard.unlock();
        thread->join(); // without the lock: a check that waits for it can finish
        guard.lock();
        joined_threads.erase(id);
        thread_joined.notify_all();
    }
    AwaitJoins(guard);
}

void ZavStorageDiskLib::TellToStop(MessageLoop& loop)
{
    {
        const boost::lock_guard<boost::mutex> guard(loop.lock);
        loop.keep_running = false;
    }
    loop.WakeUp();
}

// Returns when no check thread is left that somebody else is joining. On such a thread it returns at once: its joiner
// waits for this very thread.
void ZavStorageDiskLib::AwaitJoins(boost::unique_lock<boost::recursive_mutex>& guard)
{
    if (joined_threads.count(boost::this_thread::get_id()) != 0) {
        return;
    }
    while (!joined_threads.empty()) {
        thread_joined.wait(guard);
    }
}

void ZavStorageDiskLib::GetDeviceInfoByEnv(const EnvironmentPath& env, std::string& url, std::string& user,
                                           std::string& password)
{
    PS_TRACE();
    if (const char* const missing = Environment::MissingList(env)) {
        PS_LOG(4) << "The environment has no entry in its " << missing << " list.";
        return;
    }
    Zav::DeviceInfo info;
    const Secret::ScopedWipe wipePassword(info.password);
    Environment::FillDeviceInfo(env, info);
    user = info.user;
    url = info.url;         // until another address takes the login
    Secret::Wipe(password); // an older one leaves no trace
    if (SecuritySS::ZelkDecryptInfo(env.encrypted_passwords(0), info.password)) {
        password = info.password;
    } else {
        PS_LOG(4) << "Decrypt password failed. User is " << info.user;
        return;
    }

    boost::shared_ptr<ZavRestApi> api;
    std::string errMsg;
    ZavStorageDiskLib* const keeper = GetInstance();
    int code = keeper->GetLoginedZavRestApi(info, api, errMsg);
    if (CheckIfNeedToRetry(code)) {
        code = keeper->TryToGetAValidMgmtIP(env, info, api, errMsg);
    }
    if (code != ResultCode::OK) {
        PS_LOG(3) << "Login Zav device failed: " << errMsg << " The error code is " << code;
    }
    url = info.url;
}

int ZavStorageDiskLib::TryToGetAValidMgmtIP(const EnvironmentPath& env, Zav::DeviceInfo& info,
                                            boost::shared_ptr<ZavRestApi>& api, std::string& errMsg)
{
    PS_TRACE();
    const std::string startingUrl = info.url;
    int code = ResultCode::FAILED;
    info.otherMgmtIps.clear(); // they are listed afresh, so that each address is tried once
    device_set_operator->GetAllOtherMgmtIPs(env, info);
    for (const std::string& address : info.otherMgmtIps) {
        Environment::UseAddress(address, info);
        PS_LOG(1) << "Try to use this Mgmt URL: " << info.url;
        code = GetLoginedZavRestApi(info, api, errMsg);
        const bool isWorthAnother = CheckIfNeedToRetry(code);
        if (code == ResultCode::OK) {
            PS_LOG(2) << "Succeed to login Zav device using this mgmt IP URL:  " << info.url;
            CheckEnvCertForNewMgmtIP(env, info);
            errMsg.clear();
            return ResultCode::OK;
        }
        PS_LOG(3) << "Login Zav device failed using this mgmt IP:  " << info.url << ", error msg is " << errMsg
                  << ", error code is " << code;
        if (!isWorthAnother) {
            break;
        }
    }
    PS_LOG(3) << "Didn't find another Valid Mgmt IP or there is only one Mgmt IP, still use the original url: "
              << startingUrl;
    info.url = startingUrl;
    return code;
}

bool ZavStorageDiskLib::GetLunGropuInfo(const Zav::DeviceInfo& info, std::string& first, std::string& second)
{
    PS_TRACE();
    boost::shared_ptr<ZavRestApi> api;
    std::string errMsg;
    if (GetLoginedZavRestApi(info, api, errMsg) != ResultCode::OK) {
        PS_LOG(4) << "Get logined ZavRestApi object failed: " << errMsg;
        return false;
    }
    SecretSession session;
    return api->GetSession(session) && device_set_operator->GetSelfLunGroupInfo(session, first, second);
}

int ZavStorageDiskLib::GetLoginedZavRestApi(const Zav::DeviceInfo& info, boost::shared_ptr<ZavRestApi>& api,
                                            std::string& errMsg)
{
    PS_TRACE();
    const boost::lock_guard<boost::recursive_mutex> guard(lock);
    api.reset(); // empty on every failure
    const auto found = sessions.find(info.url);
    if (check_thread.thread == nullptr && !StartCheckThread()) {
        return ResultCode::FAILED;
    }
    if (found != sessions.end()) {
        auto& [cached, lastUsed] = found->second;
        lastUsed = TimeSource::SteadyNow();
        api = cached;
        return ResultCode::OK;
    }
    try {
        api = boost::make_shared<ZavRestApi>(info.restApiArgument);
    } catch (...) {
        const std::string cause = Base::CaughtText();
        PS_LOG(4) << "Create ZavRestApi objcet failed." << cause; // so spelt: operators search for it
        return ResultCode::FAILED;
    }
    const int code = api->Login(info.url, info.user, info.password, errMsg);
    if (code != ResultCode::OK) {
        api.reset();
        PS_LOG(4) << "Login zav device failed. Error code is " << code;
        return code;
    }
    PS_LOG(1) << "Login zav device successfully! Device url is " << info.url;
    sessions[info.url] = Session(api, TimeSource::SteadyNow());
    return ResultCode::OK;
}

bool ZavStorageDiskLib::StartCheckThread()
{
    if (!check_thread.Start()) {
        PS_LOG_AS("GetLoginedZavRestApi", 4) << "Check  session thread new failed.";
        return false;
    }
    if (check_thread.message_loop == nullptr) {
        return false;
    }
    try {
        check_thread.message_loop->PostDelayedTask([this] { DoCheck(); }, CHECK_INTERVAL_MILLISECONDS);
    } catch (...) {
        const std::string cause = Base::CaughtText();
        PS_LOG_AS("GetLoginedZavRestApi", 4) << "Check  session thread new failed.";
        PS_LOG_AS("GetLoginedZavRestApi", 4) << "The first check could not be posted: " << cause;
        EndIdleThread();
        return false;
    }
    return true;
}

// Ends a check thread that has no check: it would keep a later login from starting one that has.
void ZavStorageDiskLib::EndIdleThread()
{
    const boost::this_thread::disable_interruption untilJoined;
    // Without the loop's lock, which may be what failed: the loop sees the flag, and the byte that wakes it, all the
    // same.
    check_thread.message_loop->keep_running = false;
    check_thread.message_loop->WakeUp();
    check_thread.thread->join(); // with the lock held: there is no check that could wait for it
    check_thread.message_loop.reset();
    check_thread.thread.reset();
}

bool ZavStorageDiskLib::CheckIfNeedToRetry(const int& code)
{
    PS_TRACE();
    const bool isFinal =
        code == ResultCode::OK || ConfigReader::getNerovaxDiskArrayNotRetryErrorCode().count(code) != 0;
    if (isFinal) {
        PS_LOG(1) << "Don't need to retry other Mgmt IPs,error code is " << code;
    } else {
        PS_LOG(1) << "Need to retry other Mgmt IPs,error code is " << code;
    }
    return !isFinal;
}

bool ZavStorageDiskLib::IsRetryable(int code)
{
    PS_TRACE();
    return retryable_error_codes.count(code) != 0;
}

void ZavStorageDiskLib::DoCheck()
{
    PS_LOG(0) << "start to check expired session.";
    const boost::lock_guard<boost::recursive_mutex> guard(lock);
    for (auto entry = sessions.begin(); entry != sessions.end();) {
        const auto& [api, lastUsed] = entry->second;
        const auto idle = TimeSource::SteadyNow() - lastUsed;
        if (idle <= LONGEST_IDLE || api.use_count() != 1) { // 1: only this map holds it
            ++entry;
            continue;
        }
        PS_LOG(1) << "device " << entry->first << " session expired!";
        std::string ignoredErrorText;
        api->Logout(ignoredErrorText);
        entry = sessions.erase(entry);
    }
    // Only for the thread that runs this: a round that was overtaken by a stop and a new start would else begin a
    // second series of checks on the new thread.
    if (check_thread.thread != nullptr && check_thread.message_loop != nullptr &&
        check_thread.thread->get_id() == boost::this_thread::get_id()) {
        check_thread.message_loop->PostDelayedTask([this] { DoCheck(); }, CHECK_INTERVAL_MILLISECONDS);
    }
}

#ifndef PRODUCT_STORAGE_DISKLIB_ZAV_STORAGE_DISK_LIB_H
#define PRODUCT_STORAGE_DISKLIB_ZAV_STORAGE_DISK_LIB_H

#include "common/export.h"
#include "common/records.h"
#include "disklib/qen_thread.h"

#include <boost/chrono/system_clocks.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/thread.hpp>

#include <condition_variable>
#include <map>
#include <set>
#include <string>
#include <utility>

class DeviceSetOperator;
class EnvironmentPath;
class ZavMapInfo;
class ZavRestApi;

/// The process-wide entry of the library: hands out logged-in array sessions, expires those that nobody holds, and
/// prepares the backup node on the array of an environment.
///
/// Sessions are keyed by the whole management URL: callers that ask for the same URL share one login, and an array that
/// is reached through two management addresses has two. A session that only the cache holds is logged out when it was
/// last handed out more than five seconds ago; a background thread looks once a second, from the first login on.
///
/// Results of `int` operations are 0, or the code of the failing login (-1 for a local failure). Environments must name
/// at least one entry in each of their lists but those of certificates and of all management addresses; where one is
/// missing the operation fails with an error line that names the list.
/// Threads: any thread, any operation. A login, and the logouts of the check, keep other callers waiting.
class PRODUCT_STORAGE_API ZavStorageDiskLib {
public:
    /// The single instance, built on first use and destroyed at process exit, when sessions are released without
    /// logging out.
    static ZavStorageDiskLib* GetInstance();

    ZavStorageDiskLib(const ZavStorageDiskLib&) = delete;
    ZavStorageDiskLib& operator=(const ZavStorageDiskLib&) = delete;

    /// Logs into the environment's array and prepares this node on it. True only when all succeeded. `mapInfo` receives
    /// what ties the node to the array's volumes.
    virtual bool Init(const EnvironmentPath& env, ZavMapInfo& mapInfo);

    /// Stops the session check until the next login, and returns when its thread has ended, also when another caller
    /// stopped it and is waiting for it still. Sessions stay. Throws the threading library's resource error
    /// ("boost thread: trying joining itself") on the check thread itself, after it was told to stop.
    virtual void StopCheckThread();

    /// Logs into the environment's array and tells the URL that works (the first address when none does), user name and
    /// plain password. The caller wipes `password`; what it held before is wiped here. A password that cannot be
    /// decrypted is empty, and nothing is logged into. An environment that lacks a list leaves all three as they are.
    virtual void GetDeviceInfoByEnv(const EnvironmentPath& env, std::string& url, std::string& user,
                                    std::string& password);

    /// Has the array's certificate verified for the new address in `info.url`; the outcome is only logged.
    virtual void CheckEnvCertForNewMgmtIP(const EnvironmentPath& env, const Zav::DeviceInfo& info);

    /// Tries the array's other management addresses in turn. 0 when one took the login: `info.url` is then its URL and
    /// `api` the session. Otherwise the last code, or -1 when there was none to try, with `info.url` unchanged. The
    /// other addresses in `info` are the environment's from then on, and so are protocol and port where it names one
    /// alone. `api` is empty when the last login failed, and as it was when there was none to try.
    virtual int TryToGetAValidMgmtIP(const EnvironmentPath& env, Zav::DeviceInfo& info,
                                     boost::shared_ptr<ZavRestApi>& api, std::string& errMsg);

    /// The node's own LUN group on that array: its id and its name. After false `first` may be set all the same.
    virtual bool GetLunGropuInfo(const Zav::DeviceInfo& info, std::string& first, std::string& second);

    /// 0 and a logged-in `api`, from the cache or by a new login; a cached one is not tested against the array. On
    /// failure `api` is empty.
    virtual int GetLoginedZavRestApi(const Zav::DeviceInfo& info, boost::shared_ptr<ZavRestApi>& api,
                                     std::string& errMsg);

    virtual ~ZavStorageDiskLib();

    /// True when another management address should be tried after `code`: any failure that configuration does not list.
    bool CheckIfNeedToRetry(const int& code);

    /// True for the codes after which a request is worth repeating. For callers; the library itself does not ask.
    bool IsRetryable(int code);

    /// One round of the session check; the check thread's task.
    void DoCheck();

protected:
    /// For GetInstance and for classes that replace an operation.
    ZavStorageDiskLib();

private:
    using Session = std::pair<boost::shared_ptr<ZavRestApi>, boost::chrono::steady_clock::time_point>; // last_used

    PRODUCT_STORAGE_LOCAL bool InitDevice(const Zav::DeviceInfo& device, ZavMapInfo& mapInfo);
    PRODUCT_STORAGE_LOCAL bool StartCheckThread(); // requires lock
    PRODUCT_STORAGE_LOCAL void EndIdleThread();    // requires lock
    PRODUCT_STORAGE_LOCAL static void TellToStop(MessageLoop& loop);
    PRODUCT_STORAGE_LOCAL void
    AwaitJoins(boost::unique_lock<boost::recursive_mutex>& guard); // requires lock, in `guard`

    QenThread check_thread;                  // guarded by lock
    std::map<std::string, Session> sessions; // guarded by lock
    const std::set<int> retryable_error_codes;
    DeviceSetOperator* const device_set_operator; // not owned
    boost::recursive_mutex lock;                  // before the message loop's lock
    std::set<boost::thread::id> joined_threads;   // guarded by lock; check threads that are being joined
    std::condition_variable_any thread_joined;    // with lock
};

#endif

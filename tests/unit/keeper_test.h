#ifndef PRODUCT_STORAGE_TESTS_UNIT_KEEPER_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_KEEPER_TEST_H

#include "common/framework/product_messages.pb.h"
#include "common/records.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"
#include "tests/fakes/fakes.h"
#include "tests/unit/system_calls.h"

#include <string>
#include <vector>

/// Gives a test the process's session keeper and device set as if nothing had used them, and leaves them so: no
/// session, no check thread, no provisioned device. Meanwhile time stands still (see SystemCalls), so that the check
/// thread, which starts with the first login, checks only when the test lets time pass.
///
/// For every test whose code may come to ZavStorageDiskLib::GetInstance, as DeviceSetOperator::GetAllDeviceInfo does.
/// No session may be held when it is destroyed: make it before whatever holds some. The fakes are empty afterwards.
class KeeperScope {
public:
    KeeperScope() { Forget(); }
    KeeperScope(const KeeperScope&) = delete;
    KeeperScope& operator=(const KeeperScope&) = delete;
    ~KeeperScope() { Forget(); }

    SystemCalls m_calls;

private:
    static void Forget();
};

/// A session keeper of a test's own.
class Keeper : public ZavStorageDiskLib {
public:
    Keeper() = default;
};

/// A keeper of its own, beside the process's, and arrays at https://<address>:8088 to log into.
class KeeperTest : public FakesTest {
protected:
    static constexpr const char* FIRST = "10.0.0.1";
    static constexpr const char* SECOND = "10.0.0.2";
    static constexpr const char* THIRD = "10.0.0.3";

    static std::string UrlOf(const std::string& address) { return "https://" + address + ":8088"; }
    static std::string LoginLine(const std::string& address)
    {
        return "POST " + UrlOf(address) + "/deviceManager/rest//sessions";
    }
    static std::string LogoutLine(const std::string& address, const std::string& deviceId)
    {
        return "DELETE " + UrlOf(address) + "/deviceManager/rest/" + deviceId + "/sessions";
    }

    static Zav::DeviceInfo Device(const std::string& address);

    /// An environment of one array at `addresses`, reached at the first of them.
    static EnvironmentPath Environment(const std::vector<std::string>& addresses);

    /// The array at `address` takes the next login as device `deviceId`.
    void AcceptLogin(const std::string& address, const std::string& deviceId = "DEV1");
    void RefuseLogin(const std::string& address, const Answer& answer);

    /// Logs in by `m_keeper` and lets go of the session: only the cache holds it.
    void LogInAndRelease(const std::string& address, const std::string& deviceId = "DEV1");

    /// The lines of the keeper itself, without entries and exits.
    std::vector<LogLine> KeeperLines() const;

    /// How many rounds of the session check have begun.
    int Checks() const;

    /// Lets time pass and waits until the check thread has nothing more to do.
    void LetTimePass(const boost::chrono::nanoseconds& duration);

    KeeperScope m_scope;
    SystemCalls& m_calls = m_scope.m_calls;
    Keeper m_keeper;
    boost::shared_ptr<ZavRestApi> m_api;
    std::string m_errorText = "untouched";
};

#endif

#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"
#include "tests/integration/stage.h"
#include "tests/support/full_listener.h"
#include "tests/support/slowness.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// A service with an array that answers and one whose address swallows what is sent to it.
class DeadArrayTest : public Stage {
protected:
    static constexpr const char* LOGIN = "|Enter Login\n"; ///< in the log

    static Zav::DeviceInfo DeviceAt(const std::string& url)
    {
        Zav::DeviceInfo device;
        device.url = url;
        device.user = "admin";
        device.password = PASSWORD;
        return device;
    }

    static int LogIn(const Zav::DeviceInfo& device, boost::shared_ptr<ZavRestApi>& api)
    {
        std::string errorText;
        return ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(device, api, errorText);
    }
};

// The lock is held across a login: whoever wants a session of another array waits for it, and no longer than a
// connection may take. Whoever has his session already does not wait at all.
TEST_F(DeadArrayTest, CallerOfAnotherArrayWaitsForOneConnectionAtMost)
{
    constexpr double CONNECT_SECONDS = 2;
    Configure({{"Http.ConnectTimeoutSeconds", "2"}});
    const Array& array = StartArray();
    boost::shared_ptr<ZavRestApi> held;
    ASSERT_EQ(0, LogIn(DeviceAt(array.Url()), held));
    const FullListener dead(Address(3), Array::PORT);
    const Zav::DeviceInfo lost = DeviceAt("https://" + Address(3) + ":8088");

    const std::size_t before = LogText().rfind(LOGIN);
    const Clock::time_point begin = Clock::now();
    const auto caller = std::async(std::launch::async, [&lost] {
        boost::shared_ptr<ZavRestApi> none;
        EXPECT_NE(0, LogIn(lost, none));
        EXPECT_EQ(nullptr, none);
    });
    WaitUntil("the dead array's login", [this, &before] { return LogText().rfind(LOGIN) != before; });
    std::string errorText;
    std::uint64_t luns = 0;
    EXPECT_EQ(0, held->GetLunCount(luns, errorText)) << errorText;
    EXPECT_LT(SecondsSince(begin), CONNECT_SECONDS);
    boost::shared_ptr<ZavRestApi> other;
    EXPECT_EQ(0, LogIn(DeviceAt(array.Url()), other));
    const double waited = SecondsSince(begin);
    EXPECT_GT(waited, CONNECT_SECONDS - 0.1);
    EXPECT_LT(waited, (CONNECT_SECONDS + 2) * SLOWNESS);
    RecordProperty("seconds", std::to_string(waited));
}

} // namespace

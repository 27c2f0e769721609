#include "tests/integration/stage.h"

#include "device/device_set_operator.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"

#include <gmock/gmock.h>

#include <chrono>

namespace {

std::int64_t NowMilliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

class SessionExpiryTest : public Stage {};

// The one test whose story is time itself: it lasts as long as the promise does.
TEST_F(SessionExpiryTest, SessionIsLoggedOutBetweenFiveAndSixSecondsAfterItsLastUse)
{
    const Array& array = StartArray();
    ZavStorageDiskLib& keeper = *ZavStorageDiskLib::GetInstance();
    bool ok = true;
    const std::vector<Zav::DeviceInfo> devices =
        DeviceSetOperator::GetDeviceSetOperator()->GetAllDeviceInfo(EnvironmentOf(array), ok);
    ASSERT_TRUE(ok) << LogText();
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    ASSERT_EQ(0, keeper.GetLoginedZavRestApi(devices[0], api, errorText));
    const std::int64_t lastUse = NowMilliseconds();
    api.reset();

    WaitUntil("the logout", [&array] { return array.Requests().back() == "DELETE sessions"; });
    const std::int64_t idle = array.Journal().back().monotonicMilliseconds - lastUse;
    EXPECT_GE(idle, 5000);
    EXPECT_LE(idle, 6500); // six seconds and what a loaded machine adds
    EXPECT_THAT(LogText(), ::testing::HasSubstr("device " + array.Url() + " session expired!"));
    EXPECT_EQ(0U, array.SessionCount());
}

} // namespace

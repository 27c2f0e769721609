#include "base/file_lock.h"
#include "device/provisioning_lock.h"
#include "tests/unit/device/device_set_test.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include <optional>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

/// Provisioning beside another process that works on the same product root.
class ProvisioningLockTest : public DeviceSetTest {
protected:
    std::string LockPath() const { return Root() + "/conf/.device-info.lock"; }

    /// Takes the lock as another process would.
    void LockOutside()
    {
        m_other.emplace(LockPath());
        ASSERT_TRUE(m_other->TryLock());
    }

    std::optional<Base::FileLock> m_other;
};

TEST_F(ProvisioningLockTest, InitDeviceSetLocksAndLeavesTheLockFileForTheNext)
{
    HaveIscsiNode();
    EXPECT_TRUE(Init());
    struct stat status = {};
    ASSERT_EQ(0, ::stat(LockPath().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    EXPECT_TRUE(Base::FileLock(LockPath()).TryLock()) << "nobody holds it any more";
    EXPECT_THAT(m_clock.Sleeps(), IsEmpty());
}

TEST_F(ProvisioningLockTest, InitDeviceSetWaitsUntilTheOtherProcessIsDone)
{
    HaveIscsiNode();
    LockOutside();
    m_clock.ObserveSleeps([this] {
        EXPECT_THAT(m_san.Calls(), IsEmpty());
        if (m_clock.Sleeps().size() == 3) {
            m_other.reset();
        }
    });
    EXPECT_TRUE(Init());
    EXPECT_THAT(m_clock.Sleeps(), SizeIs(testing::Ge(3U)));
    EXPECT_EQ("2 Another process prepares this node or cleans up. Waiting for " + LockPath(),
              LinesOf("InitDeviceSet").at(1));
}

TEST_F(ProvisioningLockTest, InitDeviceSetGivesUpAfterTenMinutes)
{
    LockOutside();
    EXPECT_FALSE(Init());
    EXPECT_THAT(m_clock.Sleeps(), SizeIs(600));
    EXPECT_THAT(m_clock.Sleeps(), Each(1));
    EXPECT_THAT(LinesOf("InitDeviceSet"),
                ElementsAre("1 begin init device set.",
                            "2 Another process prepares this node or cleans up. Waiting for " + LockPath(),
                            "4 Another process held " + LockPath() + " for ten minutes."));
    EXPECT_THAT(m_san.Calls(), IsEmpty());
}

TEST_F(ProvisioningLockTest, WorkGoesOnWhereThereCanBeNoLockFile)
{
    HaveIscsiNode();
    ASSERT_EQ(0, ::symlink("/dev/null", LockPath().c_str()));
    EXPECT_TRUE(Init());
    EXPECT_EQ("3 Other processes are not kept out: cannot open the lock file " + LockPath() +
                  ": Too many levels of symbolic links",
              LinesOf("InitDeviceSet").at(1));
}

class DeviceIdTest : public DeviceSetTest {
protected:
    bool InitOn(const std::string& deviceId)
    {
        Zav::SessionInfo session = Session();
        session.deviceId = deviceId;
        return m_operator.InitDeviceSet(session, m_storageIps, m_array, m_mapInfo);
    }
};

TEST_F(DeviceIdTest, InitDeviceSetRefusesAnIdThatCannotNameAFile)
{
    for (const std::string& id : {std::string(), std::string(201, 'x'), std::string("../x"), std::string("a\0b", 3),
                                  std::string("a\nb"), std::string("a\x7f")}) {
        m_log.Clear();
        EXPECT_FALSE(InitOn(id)) << id;
        EXPECT_THAT(LinesOf("InitDeviceSet"),
                    ElementsAre("1 begin init device set.", StartsWith("4 The array's device id cannot name a file.")));
        EXPECT_THAT(m_san.Calls(), IsEmpty());
        EXPECT_NE(0, ::access((Root() + "/conf/.device-info.lock").c_str(), F_OK));
    }
    EXPECT_EQ("4 The array's device id cannot name a file. It has 2 bytes: a\\x7f", LinesOf("InitDeviceSet").at(1));
}

TEST_F(DeviceIdTest, InitDeviceSetTakesTheLongestIdThatItMay)
{
    HaveIscsiNode();
    m_random.Give(std::vector<std::uint32_t>(22, 1));
    EXPECT_TRUE(InitOn(std::string(200, 'x')));
}

} // namespace

#include "common/framework/product_messages.pb.h"
#include "tests/support/named_row.h"
#include "tests/unit/device/device_set_test.h"

#include <boost/thread/exceptions.hpp>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

TEST(DeviceSetOperatorInstanceTest, GetDeviceSetOperatorIsAlwaysTheSame)
{
    EXPECT_NE(nullptr, DeviceSetOperator::GetDeviceSetOperator());
    EXPECT_EQ(DeviceSetOperator::GetDeviceSetOperator(), DeviceSetOperator::GetDeviceSetOperator());
}

// ---- addresses

struct AddressRow : NamedRow {
    std::string url;
    std::string address;
    unsigned int port;
    bool isPortBad;
};

class DeviceSetOperatorAddressTest : public DeviceSetTest, public ::testing::WithParamInterface<AddressRow> {};

TEST_P(DeviceSetOperatorAddressTest, ExtractAddressInfoSplitsTheUrl)
{
    std::string address = "untouched";
    unsigned int port = 1;
    EXPECT_TRUE(m_operator.ExtractAddressInfo(GetParam().url, address, port));
    EXPECT_EQ(GetParam().address, address);
    EXPECT_EQ(GetParam().port, port);
    std::vector<std::string> lines = {"1 Enter ExtractAddressInfo", "1 End ExtractAddressInfo"};
    if (GetParam().isPortBad) {
        lines.insert(lines.begin() + 1, "4 port trans error.");
    }
    EXPECT_EQ(lines, LinesOf("ExtractAddressInfo"));
}

INSTANTIATE_TEST_SUITE_P(
    Urls, DeviceSetOperatorAddressTest,
    ::testing::Values(AddressRow{{"Https"}, "https://10.0.0.1", "10.0.0.1", 443, false},
                      AddressRow{{"Http"}, "http://10.0.0.1", "10.0.0.1", 0, false},
                      AddressRow{{"HttpsWithPort"}, "https://10.0.0.1:8088", "10.0.0.1", 8088, false},
                      AddressRow{{"HttpWithPort"}, "http://10.0.0.1:8088", "10.0.0.1", 8088, false},
                      AddressRow{{"OtherCase"}, "HTTPS://10.0.0.1", "10.0.0.1", 0, false},
                      AddressRow{{"LongerScheme"}, "https2://10.0.0.1", "10.0.0.1", 0, false},
                      AddressRow{{"HttpEmptyPort"}, "http://10.0.0.1:", "10.0.0.1", 0, true},
                      AddressRow{{"NoScheme"}, "://10.0.0.1:5", "10.0.0.1", 5, false},
                      AddressRow{{"NoAddress"}, "https://:8088", "", 8088, false},
                      AddressRow{{"Nothing"}, "https://", "", 443, false},
                      AddressRow{{"Letters"}, "https://10.0.0.1:port", "10.0.0.1", 443, true},
                      AddressRow{{"EmptyPort"}, "https://10.0.0.1:", "10.0.0.1", 443, true},
                      AddressRow{{"Path"}, "https://10.0.0.1:8088/path", "10.0.0.1", 443, true},
                      AddressRow{{"Blank"}, "https://10.0.0.1: 8088", "10.0.0.1", 443, true},
                      AddressRow{{"TwoColons"}, "https://fe80::1", "fe80", 443, true},
                      AddressRow{{"Plus"}, "https://10.0.0.1:+8088", "10.0.0.1", 8088, false},
                      AddressRow{{"Minus"}, "https://10.0.0.1:-1", "10.0.0.1", 4294967295U, false},
                      AddressRow{{"Greatest"}, "https://10.0.0.1:4294967295", "10.0.0.1", 4294967295U, false},
                      AddressRow{{"TooGreat"}, "https://10.0.0.1:4294967296", "10.0.0.1", 443, true}),
    RowName<AddressRow>);

class DeviceSetOperatorManagerTest : public DeviceSetTest {
protected:
    // A manager whose connection is as a test wants it.
    struct Manager : CDeviceManager {
        CHandler* GetHandler(HANDLERTYPE /*type*/) override { return nullptr; }
        bool Connect(const std::string& /*address*/, unsigned int& /*port*/, const std::string& /*deviceId*/,
                     const std::string& /*token*/, const std::string& /*cookie*/) override
        {
            m_onConnect();
            return true;
        }

        std::function<void()> m_onConnect = [] {};
    };

    Manager m_ours;
    CDeviceManager* m_manager = &m_ours;
};

TEST_F(DeviceSetOperatorManagerTest, ExtractAddressInfoOfAUrlWithoutSchemeFails)
{
    std::string address = "untouched";
    unsigned int port = 1;
    EXPECT_FALSE(m_operator.ExtractAddressInfo("10.0.0.1:8088", address, port));
    EXPECT_EQ("untouched", address);
    EXPECT_EQ(1U, port);
    EXPECT_THAT(
        LinesOf("ExtractAddressInfo"),
        ElementsAre("1 Enter ExtractAddressInfo", "4 url format error.10.0.0.1:8088", "1 End ExtractAddressInfo"));
}

TEST_F(DeviceSetOperatorManagerTest, GetDeviceManagerAsksForAHandleWithTheLibrarysArguments)
{
    CDeviceManager* const manager = m_operator.GetDeviceManager();
    EXPECT_NE(nullptr, manager);
    EXPECT_THAT(m_san.InstanceArguments(), ElementsAre("0,500000"));
    EXPECT_THAT(LinesOf("GetDeviceManager"), ElementsAre("1 Enter GetDeviceManager", "1 End GetDeviceManager"));
    CDeviceManager::releaseInstance(manager);
}

TEST_F(DeviceSetOperatorManagerTest, InitDeviceManagerConnectsWithTheSession)
{
    CDeviceManager* manager = m_operator.GetDeviceManager();
    EXPECT_TRUE(m_operator.InitDeviceManager(Session(), &manager));
    ASSERT_THAT(m_san.Connections(), SizeIs(1));
    const FakeSan::Connection connection = m_san.Connections().front();
    EXPECT_EQ("10.0.0.1", connection.address);
    EXPECT_EQ(8088U, connection.port);
    EXPECT_EQ(KEY, connection.deviceId);
    EXPECT_EQ("TOK1", connection.token);
    EXPECT_EQ("session=c1", connection.cookie);
    EXPECT_THAT(LinesOf("InitDeviceManager"),
                ElementsAre("1 init devicemanager pointer.", "1 begin extract address and port.",
                            "1 begin connect device.", "1 init devicemanager pointer success."));
    CDeviceManager::releaseInstance(manager);
}

TEST_F(DeviceSetOperatorManagerTest, InitDeviceManagerWithoutAHandleFails)
{
    m_manager = nullptr;
    EXPECT_FALSE(m_operator.InitDeviceManager(Session(), &m_manager));
    EXPECT_THAT(LinesOf("InitDeviceManager"),
                ElementsAre("1 init devicemanager pointer.", "4 devicemanager pointer is null."));
}

TEST_F(DeviceSetOperatorManagerTest, InitDeviceManagerWithoutAnAddressDoesNotConnect)
{
    bool isConnected = false;
    m_ours.m_onConnect = [&] { isConnected = true; };
    EXPECT_FALSE(m_operator.InitDeviceManager({"10.0.0.1", KEY, "TOK1", "c1"}, &m_manager));
    EXPECT_FALSE(isConnected);
    EXPECT_THAT(
        LinesOf("InitDeviceManager"),
        ElementsAre("1 init devicemanager pointer.", "1 begin extract address and port.", "4 extract address failed."));
}

TEST_F(DeviceSetOperatorManagerTest, InitDeviceManagerThatTheArrayRefusesFails)
{
    m_san.RefuseConnections();
    CDeviceManager* manager = m_operator.GetDeviceManager();
    EXPECT_FALSE(m_operator.InitDeviceManager(Session(), &manager));
    EXPECT_THAT(LinesOf("InitDeviceManager"),
                ElementsAre("1 init devicemanager pointer.", "1 begin extract address and port.",
                            "1 begin connect device.", "4 connect device failed."));
    CDeviceManager::releaseInstance(manager);
}

TEST_F(DeviceSetOperatorManagerTest, InitDeviceManagerWhoseHandleGoesWhileItConnectsFails)
{
    m_ours.m_onConnect = [this] { m_manager = nullptr; };
    EXPECT_FALSE(m_operator.InitDeviceManager(Session(), &m_manager));
    EXPECT_THAT(LinesOf("InitDeviceManager"),
                ElementsAre("1 init devicemanager pointer.", "1 begin extract address and port.",
                            "1 begin connect device.", "4 device manager is null."));
}

// ---- the node's LUN group

class DeviceSetOperatorLunGroupTest : public DeviceSetTest {
protected:
    bool Get() { return m_operator.GetSelfLunGroupInfo(Session(), m_id, m_name); }

    void ExpectUntouched() const
    {
        EXPECT_EQ("untouched", m_id);
        EXPECT_EQ("untouched", m_name);
    }

    std::string m_id = "untouched";
    std::string m_name = "untouched";
};

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoReadsTheDevicesFile)
{
    WriteRecord(CompleteRecord());
    EXPECT_TRUE(Get());
    EXPECT_EQ("31", m_id);
    EXPECT_EQ("luns", m_name);
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"),
                ElementsAre("1 begin get lun group id", "1 get lun group id finish,lun group id is:31"));
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoTakesEmptyTextsToo)
{
    WriteRecord({{"LUNGROUPID", ""}, {"LUNGROUPNAME", ""}});
    EXPECT_TRUE(Get());
    EXPECT_EQ("", m_id);
    EXPECT_EQ("", m_name);
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoWithoutAFileFindsNoId)
{
    EXPECT_FALSE(Get());
    ExpectUntouched();
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"),
                ElementsAre("1 begin get lun group id", "4 there is no have lun group id."));
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoWithoutAnIdTellsNothing)
{
    WriteRecord({{"LUNGROUPNAME", "luns"}});
    EXPECT_FALSE(Get());
    ExpectUntouched();
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoWithoutANameTellsTheId)
{
    WriteRecord({{"LUNGROUPID", "31"}});
    EXPECT_FALSE(Get());
    EXPECT_EQ("31", m_id);
    EXPECT_EQ("untouched", m_name);
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"),
                ElementsAre("1 begin get lun group id", "4 there is no have lun group name."));
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoOfAFileThatIsNoJsonFails)
{
    WriteFile("LUNGROUPID=31");
    EXPECT_FALSE(Get());
    ExpectUntouched();
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"), ElementsAre("1 begin get lun group id", "4 read config failed."));
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoKeepsTheJsonLibrarysErrorToItself)
{
    WriteFile(R"({"DEV1": {"LUNGROUPID": {}}})");
    EXPECT_FALSE(Get());
    ExpectUntouched();
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"), ElementsAre("1 begin get lun group id", "4 read config failed."));
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoFindsTheRecordInTheProductsFileToo)
{
    m_programPath.emplace("bin/agent");
    m_productRoot.Set(Root());
    const DeletedWorkingDirectory nowhere;
    WriteText(Root() + "/conf/deviceinfo.conf", R"({"DEV1": {"LUNGROUPID": "31", "LUNGROUPNAME": "l"}})");
    EXPECT_TRUE(Get());
    EXPECT_EQ("31", m_id);
    EXPECT_EQ("l", m_name);
}

TEST_F(DeviceSetOperatorLunGroupTest, GetSelfLunGroupInfoLetsTheLockErrorPass)
{
    WriteRecord(CompleteRecord());
    DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    watch.Refuse();
    EXPECT_THROW(Get(), boost::lock_error);
    ExpectUntouched();
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"), ElementsAre("1 begin get lun group id"));
}

// ---- the map

class DeviceSetOperatorMapTest : public DeviceSetTest {
protected:
    DeviceSetOperatorMapTest() { InitSuccessfully(); }
};

TEST_F(DeviceSetOperatorMapTest, GetMapDeviceOperateIsACopy)
{
    auto copy = m_operator.GetMapDeviceOperate();
    EXPECT_THAT(copy, ElementsAre(Pair(KEY, ::testing::NotNull())));
    copy.clear();
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), SizeIs(1));
    EXPECT_THAT(LinesOf("GetMapDeviceOperate"), Contains("1 Enter GetMapDeviceOperate"));
    EXPECT_THAT(LinesOf("GetMapDeviceOperate"), Contains("1 End GetMapDeviceOperate"));
}

TEST_F(DeviceSetOperatorMapTest, GetMapDeviceOperateTakesNoLock)
{
    DeviceSystemCalls::LockWatch watch(m_operator);
    watch.Refuse();
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), SizeIs(1));
}

TEST_F(DeviceSetOperatorMapTest, RemoveDeviceFromMapForgetsTheSessionsDevice)
{
    const DeviceSystemCalls::LockWatch watch(m_operator);
    m_operator.RemoveDeviceFromMap(Session());
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), IsEmpty());
    EXPECT_EQ(1, watch.Locks());
    EXPECT_FALSE(watch.IsHeld());
    EXPECT_THAT(LinesOf("RemoveDeviceFromMap"),
                ElementsAre("1 Enter RemoveDeviceFromMap", "1 End RemoveDeviceFromMap"));
}

TEST_F(DeviceSetOperatorMapTest, RemoveDeviceFromMapLeavesOtherDevices)
{
    m_operator.RemoveDeviceFromMap({"https://10.0.0.1:8088", "DEV2", "TOK1", "c1"});
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), SizeIs(1));
}

TEST_F(DeviceSetOperatorMapTest, RemoveDeviceFromMapWithoutTheLockThrowsAndRemovesNothing)
{
    DeviceSystemCalls::LockWatch watch(m_operator);
    watch.Refuse();
    EXPECT_THROW(m_operator.RemoveDeviceFromMap(Session()), boost::lock_error);
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), SizeIs(1));
}

} // namespace

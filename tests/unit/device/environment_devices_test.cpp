#include "common/framework/product_messages.pb.h"
#include "device/device_set_operator.h"
#include "disklib/zav_storage_disk_lib.h"
#include "tests/support/named_row.h"
#include "tests/unit/device/device_test.h"
#include "tests/unit/freed_memory.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr const char* PASSWORD = "a password too long to lie within the text object";

class EnvironmentDevicesTest : public DeviceTest {
protected:
    EnvironmentDevicesTest()
    {
        m_env.add_management_ips("10.4.0.1");
        m_env.add_user_names("admin");
        m_env.add_encrypted_passwords(std::string("cipher:") + PASSWORD);
        m_env.add_ports(8088);
        m_env.add_protocols(0);
        m_env.add_all_management_ips("10.4.0.1");
        m_env.add_all_management_ips("10.4.0.2");
        m_env.add_all_management_ips("10.4.0.3");
    }

    // The session keeper is one for the whole program: its thread is stopped and its sessions are expired.
    ~EnvironmentDevicesTest() override
    {
        m_keeper->StopCheckThread();
        m_http.Clear();
        m_http.Always("DELETE", "/sessions", NoData());
        m_clock.Advance(boost::chrono::minutes(1));
        m_keeper->DoCheck();
    }

    std::vector<Zav::DeviceInfo> Get() { return m_operator->GetAllDeviceInfo(m_env, m_ok); }

    static std::string Sessions(const std::string& address)
    {
        return "POST https://" + address + ":8088/deviceManager/rest//sessions";
    }

    static std::string Ports(const std::string& address)
    {
        return "GET https://" + address + ":8088/deviceManager/rest/DEV1/eth_port?LOGICTYPE=0";
    }

    void TakeLogin()
    {
        m_http.On("POST", "/sessions", Data(R"({"deviceid": "DEV1", "iBaseToken": "TOK1"})").WithCookie("session=c1"));
    }

    void TellStorageIps() { m_http.On("GET", "", Data(R"([{"IPV4ADDR": "10.1.0.1"}, {"IPV4ADDR": "10.1.0.2"}])")); }

    void ExpectFailure(const std::string& line)
    {
        EXPECT_THAT(Get(), IsEmpty());
        EXPECT_FALSE(m_ok);
        EXPECT_THAT(LinesOf("GetAllDeviceInfo"),
                    ElementsAre("1 Enter GetAllDeviceInfo", line, "1 End GetAllDeviceInfo"));
    }

    DeviceSetOperator* const m_operator = DeviceSetOperator::GetDeviceSetOperator();
    ZavStorageDiskLib* const m_keeper = ZavStorageDiskLib::GetInstance();
    EnvironmentPath m_env;
    bool m_ok = true;
};

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoLogsInAndAsksForTheStorageIps)
{
    TakeLogin();
    TellStorageIps();
    const std::vector<Zav::DeviceInfo> devices = Get();
    EXPECT_TRUE(m_ok);
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ("https://10.4.0.1:8088", devices.front().url);
    EXPECT_EQ("admin", devices.front().user);
    EXPECT_EQ(PASSWORD, devices.front().password);
    EXPECT_EQ("https", devices.front().protocol);
    EXPECT_EQ("8088", devices.front().port);
    EXPECT_EQ("", devices.front().restApiArgument);
    EXPECT_THAT(devices.front().storageIps, ElementsAre("10.1.0.1", "10.1.0.2"));
    EXPECT_THAT(devices.front().otherMgmtIps, ElementsAre("10.4.0.2", "10.4.0.3"));
    EXPECT_THAT(m_http.Lines(), ElementsAre(Sessions("10.4.0.1"), Ports("10.4.0.1")));
    EXPECT_THAT(LinesOf("GetAllDeviceInfo"),
                ElementsAre("1 Enter GetAllDeviceInfo", "2 GetAllDeviceInfo successfully! ", "1 End GetAllDeviceInfo"));
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoTakesTheFirstOfSeveralProtocolsAndPorts)
{
    m_env.set_protocols(0, 1);
    m_env.add_protocols(0);
    m_env.add_ports(9);
    TakeLogin();
    TellStorageIps();
    const std::vector<Zav::DeviceInfo> devices = Get();
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ("http://10.4.0.1:8088", devices.front().url);
    EXPECT_EQ("http", devices.front().protocol);
    EXPECT_EQ("8088", devices.front().port);
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoNeverTakesAFailureBack)
{
    m_ok = false;
    TakeLogin();
    TellStorageIps();
    EXPECT_THAT(Get(), SizeIs(1));
    EXPECT_FALSE(m_ok);
}

// Neither story sends the password anywhere, so that only the operation itself holds it.
TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoWipesItsOwnPassword)
{
    TakeLogin();
    TellStorageIps();
    ASSERT_THAT(Get(), SizeIs(1));
    TellStorageIps();
    std::vector<Zav::DeviceInfo> devices; // keeps the caller's copy
    FreedMemory memory({PASSWORD});
    memory.During([&] { devices = Get(); }); // with the session of before
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ(PASSWORD, devices.front().password);
    EXPECT_EQ(0, memory.Holding(PASSWORD));
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoWipesItsOwnPasswordWhenItFailsToo)
{
    m_config.SetNotRetryErrorCodes({-1});
    m_http.ThrowOnCreate("no client");
    FreedMemory memory({PASSWORD});
    memory.During([&] { EXPECT_THAT(Get(), IsEmpty()); });
    EXPECT_EQ(0, memory.Holding(PASSWORD));
    EXPECT_THAT(LinesOf("GetAllDeviceInfo"), Contains("4 Login Zav device failed: The error code is -1"));
}

struct MissingRow : NamedRow {
    void (EnvironmentPath::*clear)();
    std::string line;
};

class EnvironmentDevicesMissingTest : public EnvironmentDevicesTest,
                                      public ::testing::WithParamInterface<MissingRow> {};

TEST_P(EnvironmentDevicesMissingTest, GetAllDeviceInfoNamesTheListThatIsEmpty)
{
    (m_env.*GetParam().clear)();
    ExpectFailure(GetParam().line);
    EXPECT_THAT(m_http.Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lists, EnvironmentDevicesMissingTest,
                         ::testing::Values(MissingRow{{"ManagementIps"},
                                                      &EnvironmentPath::clear_management_ips,
                                                      "4 The environment has no entry in its management IP list."},
                                           MissingRow{{"UserNames"},
                                                      &EnvironmentPath::clear_user_names,
                                                      "4 The environment has no entry in its user name list."},
                                           MissingRow{{"Passwords"},
                                                      &EnvironmentPath::clear_encrypted_passwords,
                                                      "4 The environment has no entry in its encrypted password list."},
                                           MissingRow{{"Ports"},
                                                      &EnvironmentPath::clear_ports,
                                                      "4 The environment has no entry in its port list."},
                                           MissingRow{{"Protocols"},
                                                      &EnvironmentPath::clear_protocols,
                                                      "4 The environment has no entry in its protocol list."}),
                         RowName<MissingRow>);

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoWithAPasswordThatCannotBeDecryptedFails)
{
    m_env.set_encrypted_passwords(0, "of another node");
    ExpectFailure("4 Decrypt password failed. User is admin");
    EXPECT_THAT(m_http.Lines(), IsEmpty());
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoFallsBackToAnotherManagementIp)
{
    m_http.On("POST", "10.4.0.1:8088/deviceManager/rest//sessions", NetworkError("no route"));
    m_http.On("POST", "10.4.0.2:8088/deviceManager/rest//sessions", NetworkError("no route"));
    TakeLogin();
    TellStorageIps();
    const std::vector<Zav::DeviceInfo> devices = Get();
    EXPECT_TRUE(m_ok);
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ("https://10.4.0.3:8088", devices.front().url);
    EXPECT_THAT(devices.front().otherMgmtIps, ElementsAre("10.4.0.2", "10.4.0.3"));
    EXPECT_THAT(m_http.Lines(),
                ElementsAre(Sessions("10.4.0.1"), Sessions("10.4.0.2"), Sessions("10.4.0.3"), Ports("10.4.0.3")));
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoThatReachesNoManagementIpFails)
{
    m_http.On("POST", "10.4.0.1:8088/deviceManager/rest//sessions", NetworkError("no route"));
    m_http.On("POST", "10.4.0.2:8088/deviceManager/rest//sessions", NetworkError("no route"));
    m_http.On("POST", "10.4.0.3:8088/deviceManager/rest//sessions", ArrayError(77, "busy"));
    ExpectFailure("3 Login Zav failed:busy The error code is 77");
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoWithoutAnotherManagementIpFails)
{
    m_env.clear_all_management_ips();
    m_http.Next(NetworkError("no route"));
    ExpectFailure("3 Login Zav failed:no route The error code is -1");
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoTriesNoOtherManagementIpAfterAFinalCode)
{
    m_config.SetNotRetryErrorCodes({77});
    m_http.Next(ArrayError(77, "wrong password"));
    ExpectFailure("4 Login Zav device failed:wrong password The error code is 77");
    EXPECT_THAT(m_http.Lines(), SizeIs(1));
}

TEST_F(EnvironmentDevicesTest, GetAllDeviceInfoWithoutStorageIpsFails)
{
    TakeLogin();
    m_http.On("GET", "", ArrayError(1077949006, "expired"));
    ExpectFailure("4 GetStorageIP failed! expired The error code is 1077949006");
}

class OtherManagementIpsTest : public EnvironmentDevicesTest {
protected:
    void Fill() { m_operator->GetAllOtherMgmtIPs(m_env, m_info); }

    Zav::DeviceInfo m_info;
};

TEST_F(OtherManagementIpsTest, GetAllOtherMgmtIPsLeavesOutTheFirstAndEmptyOnes)
{
    m_env.clear_all_management_ips();
    for (const char* const address : {"10.4.0.9", "10.4.0.1", "", "10.4.0.8", "10.4.0.9"}) {
        m_env.add_all_management_ips(address);
    }
    m_env.add_management_ips("10.4.0.8");
    m_info.otherMgmtIps = {"from before"};
    Fill();
    EXPECT_THAT(m_info.otherMgmtIps, ElementsAre("from before", "10.4.0.9", "10.4.0.8", "10.4.0.9"));
    EXPECT_THAT(LinesOf("GetAllOtherMgmtIPs"), ElementsAre("1 Enter GetAllOtherMgmtIPs", "1 End GetAllOtherMgmtIPs"));
}

TEST_F(OtherManagementIpsTest, GetAllOtherMgmtIPsWithoutAFirstOneTakesAll)
{
    m_env.clear_management_ips();
    m_env.add_all_management_ips("");
    Fill();
    EXPECT_THAT(m_info.otherMgmtIps, ElementsAre("10.4.0.1", "10.4.0.2", "10.4.0.3"));
}

TEST_F(OtherManagementIpsTest, GetAllOtherMgmtIPsSetsTheOnlyProtocolAndPort)
{
    m_env.set_protocols(0, 1);
    Fill();
    EXPECT_EQ("http", m_info.protocol);
    EXPECT_EQ("8088", m_info.port);
    m_env.set_protocols(0, 2);
    Fill();
    EXPECT_EQ("https", m_info.protocol);
}

TEST_F(OtherManagementIpsTest, GetAllOtherMgmtIPsLeavesProtocolAndPortWhereThereAreSeveral)
{
    m_env.add_protocols(1);
    m_env.add_ports(9);
    m_info.protocol = "from before";
    m_info.port = "7";
    Fill();
    EXPECT_EQ("from before", m_info.protocol);
    EXPECT_EQ("7", m_info.port);
}

TEST_F(OtherManagementIpsTest, GetAllOtherMgmtIPsLeavesProtocolAndPortWhereThereAreNone)
{
    m_env.clear_protocols();
    m_env.clear_ports();
    m_info.protocol = "from before";
    m_info.port = "7";
    Fill();
    EXPECT_EQ("from before", m_info.protocol);
    EXPECT_EQ("7", m_info.port);
}

} // namespace

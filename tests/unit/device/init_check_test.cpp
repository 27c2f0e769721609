#include "tests/unit/device/node.h"

#include "tests/support/named_row.h"
#include "tests/unit/device/provisioning_test.h"

#include <filesystem>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace {

using Ips = std::vector<std::string>;

const Ips ALL_CHECKS = {"CheckHost 12 host", "CheckHostGroup 5 hosts", "CheckLunGroup 31 luns", "CheckMapView 7 view"};

// A node that was provisioned: the file's record is complete, and the device has taken it.
class DeviceOperateCheckTest : public ProvisioningTest {
protected:
    DeviceOperateCheckTest() { Provision(CompleteRecord()); }

    void Provision(Record record)
    {
        WriteRecord(record);
        m_device.SetDeviceMessage(record);
        m_log.Clear();
    }

    void RecordPorts(const std::string& portNames)
    {
        Record record = CompleteRecord();
        record["FCINITIATORNAME"] = portNames;
        Provision(record);
    }

    bool Check(const Ips& targetIps = {"10.0.0.8"}) { return m_device.CheckInit(Session(), targetIps, m_array); }
};

TEST_F(DeviceOperateCheckTest, CheckInitPassesWhatStandsAndIsLoggedIn)
{
    Node::HasNoPorts();
    Node::IsLoggedInto({"10.0.0.8"});
    const std::string file = FileText();
    EXPECT_TRUE(Check());
    EXPECT_EQ(ALL_CHECKS, m_array->Calls());
    EXPECT_EQ(file, FileText());
    EXPECT_THAT(LinesOf("CheckInit"),
                ElementsAre("1 Begin to Check Init Message", "1 End to Check Init Message: No need to Init again!"));
    EXPECT_THAT(Memory(m_device), ElementsAre("5", "hosts", "12", "host", "31", "luns", "7", "view"));
}

struct IncompleteRow : NamedRow {
    std::string text;
};

class DeviceOperateIncompleteTest : public DeviceOperateCheckTest,
                                    public ::testing::WithParamInterface<IncompleteRow> {};

TEST_P(DeviceOperateIncompleteTest, CheckInitWithoutACompleteRecordAsksNobody)
{
    WriteFile(GetParam().text);
    if (GetParam().name == "NoFile") {
        std::filesystem::remove(FilePath());
    }
    EXPECT_FALSE(Check());
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_THAT(m_shell.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("CheckInit"), ElementsAre("1 Begin to Check Init Message", "4  The conf file is not exist!"));
}

INSTANTIATE_TEST_SUITE_P(
    Files, DeviceOperateIncompleteTest,
    ::testing::Values(IncompleteRow{{"NoFile"}, ""}, IncompleteRow{{"EmptyFile"}, ""}, IncompleteRow{{"NoJson"}, "{"},
                      IncompleteRow{{"NoView"}, R"({"DEV1": {"ISCSIINITIATORNAME": "i"}})"},
                      IncompleteRow{{"OtherDevice"}, R"({"DEV2": {"MAPVIEWID": "7", "FCINITIATORNAME": ""}})"}),
    RowName<IncompleteRow>);

// ---- FC

TEST_F(DeviceOperateCheckTest, CheckInitOfARecordedOnlinePortLeavesOutIscsi)
{
    RecordPorts(";2100;2101");
    Node::HasPorts({"2101"});
    EXPECT_TRUE(Check({}));
    EXPECT_THAT(m_shell.Lines(), ElementsAre(READ_PORT_NAMES));
    EXPECT_EQ("IsOnlineFCInitiator 2101", m_array->Calls().front());
    EXPECT_THAT(m_array->Calls(), SizeIs(5));
}

TEST_F(DeviceOperateCheckTest, CheckInitStopsAtTheFirstRecordedOnlinePort)
{
    RecordPorts(";2100;2101");
    Node::HasPorts({"2100", "2101", "2102"});
    EXPECT_TRUE(Check({}));
    EXPECT_THAT(m_array->Calls(), Not(Contains("IsOnlineFCInitiator 2101")));
}

TEST_F(DeviceOperateCheckTest, CheckInitPassesANewPortBesideARecordedOne)
{
    RecordPorts(";2101");
    Node::HasPorts({"2100", "2101"});
    EXPECT_TRUE(Check({}));
}

TEST_F(DeviceOperateCheckTest, CheckInitOfAnOnlinePortThatIsNotRecordedFailsBeforeIscsi)
{
    RecordPorts(";2101");
    Node::HasPorts({"2100", "2102"});
    EXPECT_FALSE(Check());
    EXPECT_THAT(m_array->Calls(), ElementsAre("IsOnlineFCInitiator 2100", "IsOnlineFCInitiator 2102"));
    EXPECT_THAT(m_shell.Lines(), ElementsAre(READ_PORT_NAMES));
    EXPECT_THAT(LinesOf("CheckInit"), ElementsAre("1 Begin to Check Init Message", "4 FC WWPN need to added!"));
}

TEST_F(DeviceOperateCheckTest, CheckInitSkipsAPortThatIsOffline)
{
    RecordPorts(";2100;2101");
    Node::HasPorts({"2100", "2102"});
    m_array->Answer("IsOnlineFCInitiator 2100", -1);
    EXPECT_FALSE(Check());
    EXPECT_THAT(LinesOf("CheckInit"), Contains("4 FC WWPN need to added!"));
}

TEST_F(DeviceOperateCheckTest, CheckInitOfOfflinePortsTurnsToIscsi)
{
    RecordPorts(";2100");
    Node::HasPorts({"2100", "2101"});
    Node::IsLoggedInto({"10.0.0.8"});
    m_array->Answer("IsOnlineFCInitiator", 50331651);
    EXPECT_TRUE(Check());
    EXPECT_THAT(m_shell.Lines(), ElementsAre(READ_PORT_NAMES, READ_SESSIONS));
}

TEST_F(DeviceOperateCheckTest, CheckInitFindsAPortWithinTheRecordedText)
{
    RecordPorts(";210021012102");
    Node::HasPorts({"2101"});
    EXPECT_TRUE(Check({}));
}

TEST_F(DeviceOperateCheckTest, CheckInitFindsAnEmptyPortNameInAnyText)
{
    Node::HasPorts({""});
    EXPECT_TRUE(Check({}));
}

TEST_F(DeviceOperateCheckTest, CheckInitComparesWithTheRecordInMemory)
{
    RecordPorts(";2100");
    Record withoutPorts = {{"HOSTID", "12"}, {"HOSTNAME", "host"}};
    m_device.SetDeviceMessage(withoutPorts);
    Node::HasPorts({"2100"});
    EXPECT_FALSE(Check());
    EXPECT_THAT(LinesOf("CheckInit"), Contains("4 FC WWPN need to added!"));
}

TEST_F(DeviceOperateCheckTest, CheckInitComparesWithThePortsThatProvisioningRecorded)
{
    Node::HasPorts({"2100", "2101"});
    std::string hostId;
    std::string hostName = "name";
    std::set<std::string> hostIds;
    ASSERT_TRUE(m_device.SetFCInitorInfo(KEY, m_manager, hostId, hostName, hostIds, true, m_array));
    EXPECT_TRUE(Check({}));
}

// ---- iSCSI

TEST_F(DeviceOperateCheckTest, CheckInitNeedsOneOfTheTargetsOnly)
{
    Node::HasNoPorts();
    Node::IsLoggedInto({"10.0.0.7", "10.0.0.9"});
    EXPECT_TRUE(Check({"10.0.0.8", "10.0.0.9"}));
}

TEST_F(DeviceOperateCheckTest, CheckInitWithoutASessionFails)
{
    Node::HasNoPorts();
    Node::IsLoggedInto({});
    EXPECT_FALSE(Check());
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("CheckInit"), ElementsAre("1 Begin to Check Init Message", "4  Fail to GetLoginTargetIP!"));
}

TEST_F(DeviceOperateCheckTest, CheckInitLoggedInElsewhereOnlyFails)
{
    Node::HasNoPorts();
    Node::IsLoggedInto({"10.0.0.80"});
    EXPECT_FALSE(Check());
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("CheckInit"), ElementsAre("1 Begin to Check Init Message", "4  New targetIP needed to Login!"));
}

TEST_F(DeviceOperateCheckTest, CheckInitWithoutTargetsFails)
{
    Node::HasNoPorts();
    Node::IsLoggedInto({"10.0.0.8"});
    EXPECT_FALSE(Check({}));
    EXPECT_THAT(LinesOf("CheckInit"), ElementsAre("1 Begin to Check Init Message", "4  New targetIP needed to Login!"));
}

// ---- the recorded objects

class DeviceOperateGoneTest : public DeviceOperateCheckTest {
protected:
    DeviceOperateGoneTest()
    {
        Node::HasNoPorts();
        Node::IsLoggedInto({"10.0.0.8"});
        m_array->Answer("CheckMapView", -2);
    }
};

TEST_F(DeviceOperateGoneTest, CheckInitCleansUpWhatIsLeftWhenAnObjectIsGone)
{
    m_array->m_hostsInGroup = {"12"};
    m_array->m_luns = {"1"};
    EXPECT_FALSE(Check());
    Ips calls = ALL_CHECKS;
    const Ips cleanup = {"CheckMapView 7 view",
                         "CheckHostGroup 5 hosts",
                         "GetAllHostIDFromHostGroup 5",
                         "RemoveHost 12 5",
                         "DeleteHostGroup 5",
                         "CheckHost 12 host",
                         "GetIscsiInitiator 12",
                         "GetFCInitiator 12",
                         "DeleteHost 12",
                         "GetLunIdByLunGroup 31",
                         "CheckLunGroup 31 luns",
                         "RemoveLunFromLunGroup 31 1",
                         "GetSnapshotIdByLunGroup 31",
                         "CheckLunGroup 31 luns",
                         "DeleteLunGroup 31"};
    calls.insert(calls.end(), cleanup.begin(), cleanup.end());
    EXPECT_THAT(m_array->Calls(), ElementsAreArray(calls));
    EXPECT_THAT(LinesOf("CheckInit"),
                ElementsAre("1 Begin to Check Init Message", "1 End to Check Init Message: Need to Init again!"));
    EXPECT_THAT(LinesOf("CheckInitSub"), ElementsAre("1 Enter CheckInitSub", "4 The MapView has been deleted!"));
}

TEST_F(DeviceOperateGoneTest, CheckInitDoesNotMindACleanupThatFails)
{
    m_array->Answer("DeleteHostGroup", 77, "busy");
    EXPECT_FALSE(Check());
    EXPECT_THAT(LinesOf("DeleteCreatedResource"), Contains("4 CheckAndDeleteHostGroup failed! Reason: busy"));
    EXPECT_THAT(m_log.Lines().back(), IsLineOf("CheckInit", 1, "End to Check Init Message: Need to Init again!"));
}

TEST_F(DeviceOperateGoneTest, CheckInitCleansUpAgainAtTheNextCheck)
{
    EXPECT_FALSE(Check());
    m_array->ForgetCalls();
    EXPECT_FALSE(Check());
    EXPECT_THAT(m_array->Calls(), Contains("DeleteLunGroup 31"));
}

TEST_F(DeviceOperateGoneTest, CheckInitRemovesAHostThatTheDevicesRecordProtects)
{
    // The record is looked for under the session's URL, where none lies.
    Record record = CompleteRecord();
    record["DONOTDELETEHOST"] = "NOT";
    Provision(record);
    EXPECT_FALSE(Check());
    EXPECT_THAT(LinesOf("CheckInit"), Not(Contains(HasSubstr("DO NOT DELETE HOST"))));
    EXPECT_THAT(m_array->Calls(), Contains("DeleteHost 12"));
}

// All arrays share one file, so that a record can lie under a URL.
class DeviceOperateSharedFileTest : public DeviceOperateGoneTest {
protected:
    class SharingDevice : public DeviceOperate {
    public:
        explicit SharingDevice(std::string path)
            : m_path(std::move(path))
        {
        }
        std::string GetDeviceInfoCfgFile(const std::string& /*key*/) override { return m_path; }

    private:
        const std::string m_path;
    };

    SharingDevice m_sharing{FilePath("shared")};
};

TEST_F(DeviceOperateSharedFileTest, CheckInitLeavesAHostThatIsProtectedUnderTheSessionsUrl)
{
    WriteFile(R"({"DEV1": {"MAPVIEWID": "7", "ISCSIINITIATORNAME": "i"},
                  "https://10.0.0.1:8088": {"DONOTDELETEHOST": ""}})",
              "shared");
    Record record = CompleteRecord();
    m_sharing.SetDeviceMessage(record);
    EXPECT_FALSE(m_sharing.CheckInit(Session(), {"10.0.0.8"}, m_array));
    EXPECT_THAT(LinesOf("CheckInit"), ElementsAre("1 Begin to Check Init Message", "1 DO NOT DELETE HOST, FALG: false",
                                                  "1 End to Check Init Message: Need to Init again!"));
    EXPECT_THAT(m_array->Calls(), Not(Contains("DeleteHost 12")));
    EXPECT_THAT(m_array->Calls(), Contains("DeleteLunGroup 31"));
}

struct GoneRow : NamedRow {
    std::string check;
    int code;
    std::string line;
    std::size_t checks; // that were made
};

class DeviceOperateCheckSubTest : public DeviceOperateCheckTest, public ::testing::WithParamInterface<GoneRow> {};

TEST_P(DeviceOperateCheckSubTest, CheckInitSubStopsAtTheFirstObjectThatIsGone)
{
    m_array->Answer(GetParam().check, GetParam().code);
    const bool isStanding = GetParam().line == "1 Leave CheckInitSub successful";
    EXPECT_EQ(isStanding, m_device.CheckInitSub(Session(), m_array));
    EXPECT_THAT(m_array->Calls(),
                ElementsAreArray(ALL_CHECKS.begin(), ALL_CHECKS.begin() + static_cast<long>(GetParam().checks)));
    EXPECT_THAT(LinesOf("CheckInitSub"), ElementsAre("1 Enter CheckInitSub", GetParam().line));
}

constexpr const char* STANDING = "1 Leave CheckInitSub successful";

INSTANTIATE_TEST_SUITE_P(
    Codes, DeviceOperateCheckSubTest,
    ::testing::Values(GoneRow{{"AllStand"}, "CheckHost", 0, STANDING, 4},
                      GoneRow{{"HostGone"}, "CheckHost", 1077937498, "4 The Host has been deleted!", 1},
                      GoneRow{{"HostRenamed"}, "CheckHost", -2, "4 The Host has been deleted!", 1},
                      GoneRow{{"HostUnknown"}, "CheckHost", 1, STANDING, 4},
                      GoneRow{{"HostFailed"}, "CheckHost", -1, STANDING, 4},
                      GoneRow{{"HostOutOfReach"}, "CheckHost", -20000, STANDING, 4},
                      GoneRow{{"HostGroupsCode"}, "CheckHost", 1077937500, STANDING, 4},
                      GoneRow{{"HostGroupGone"}, "CheckHostGroup", 1077937500, "4 The HostGroup has been deleted!", 2},
                      GoneRow{{"HostGroupRenamed"}, "CheckHostGroup", -2, "4 The HostGroup has been deleted!", 2},
                      GoneRow{{"HostGroupFailed"}, "CheckHostGroup", -1, STANDING, 4},
                      GoneRow{{"HostsCode"}, "CheckHostGroup", 1077937498, STANDING, 4},
                      GoneRow{{"LunGroupGone"}, "CheckLunGroup", 1077936861, "4 The LunGroup has been deleted!", 3},
                      GoneRow{{"LunGroupRenamed"}, "CheckLunGroup", -2, "4 The LunGroup has been deleted!", 3},
                      GoneRow{{"LunGroupFailed"}, "CheckLunGroup", -1, STANDING, 4},
                      GoneRow{{"ViewsCode"}, "CheckLunGroup", 1077951819, STANDING, 4},
                      GoneRow{{"MapViewGone"}, "CheckMapView", 1077951819, "4 The MapView has been deleted!", 4},
                      GoneRow{{"MapViewRenamed"}, "CheckMapView", -2, "4 The MapView has been deleted!", 4},
                      GoneRow{{"MapViewFailed"}, "CheckMapView", -1, STANDING, 4},
                      GoneRow{{"LunGroupsCode"}, "CheckMapView", 1077936861, STANDING, 4}),
    RowName<GoneRow>);

TEST_F(DeviceOperateCheckTest, CheckInitSubDoesNotMindAHostInAHostGroup)
{
    m_array->m_isHostInGroup = true;
    EXPECT_TRUE(m_device.CheckInitSub(Session(), m_array));
}

} // namespace

#include "tests/unit/device/node.h"
#include "tests/unit/device/provisioning_test.h"

using ::testing::_;
using ::testing::Contains;
using ::testing::DoAll;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::Return;
using ::testing::SetArgReferee;
using ::testing::StrEq;
using ::testing::StrictMock;

namespace {

using Ips = std::vector<std::string>;

// ---- the choice between FC and iSCSI

class SteppedDevice : public DeviceOperate {
public:
    MOCK_METHOD(bool, SetFCInitorInfo,
                (std::string key, CDeviceManager* manager, std::string& hostId, std::string& hostName,
                 std::set<std::string>& hostIds, bool createHost, const boost::shared_ptr<ZavRestApi>& api),
                (override));
    MOCK_METHOD(bool, SetIscsiInitorInfo,
                (std::string key, CDeviceManager* manager, const std::vector<std::string>& targetIps,
                 std::string& hostId, std::string& hostName, std::set<std::string>& hostIds, bool createHost,
                 const boost::shared_ptr<ZavRestApi>& api),
                (override));
};

class DeviceOperateInitiatorTest : public InitiatorProvisioningTest {
protected:
    bool Set(bool createHost = true)
    {
        return m_stepped.SetInitiatorInfo(KEY, m_manager, m_targetIps, m_hostId, m_hostName, m_hostIds, createHost,
                                          m_array);
    }

    const Ips m_targetIps = {"10.0.0.8"};
    StrictMock<SteppedDevice> m_stepped;
};

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoUsesFcWhereItWorks)
{
    m_hostIds = {"99"};
    EXPECT_CALL(m_stepped, SetFCInitorInfo(KEY, m_manager, StrEq(""), StrEq("name"), ElementsAre("99"), true, _))
        .WillOnce(DoAll(SetArgReferee<2>("12"), Return(true)));
    EXPECT_TRUE(Set());
    EXPECT_EQ("12", m_hostId);
    EXPECT_THAT(m_hostIds, ElementsAre("12", "99"));
    EXPECT_THAT(LinesOf("SetInitiatorInfo"),
                ElementsAre("1 begin create initiator.", "1 using FC initiator.", "1 create initiator finished."));
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoGivesTheIscsiStepTheNameThatItGot)
{
    EXPECT_CALL(m_stepped, SetFCInitorInfo(KEY, m_manager, StrEq(""), StrEq("name"), _, true, _))
        .WillOnce(DoAll(SetArgReferee<3>("host of a port"), Return(false)));
    EXPECT_CALL(m_stepped, SetIscsiInitorInfo(KEY, m_manager, m_targetIps, StrEq(""), StrEq("name"), _, true, _))
        .WillOnce(Return(true));
    EXPECT_TRUE(Set());
    EXPECT_EQ("host of a port", m_hostName);
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoTellsTheNameThatTheIscsiStepFoundLast)
{
    EXPECT_CALL(m_stepped, SetFCInitorInfo(KEY, m_manager, StrEq(""), StrEq("name"), _, true, _))
        .WillOnce(DoAll(SetArgReferee<3>("host of a port"), Return(false)));
    EXPECT_CALL(m_stepped, SetIscsiInitorInfo(KEY, m_manager, m_targetIps, StrEq(""), StrEq("name"), _, true, _))
        .WillOnce(DoAll(SetArgReferee<4>("host of the initiator"), Return(true)));
    EXPECT_TRUE(Set());
    EXPECT_EQ("host of the initiator", m_hostName);
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoCountsTheGivenHostThatFcUsed)
{
    m_hostId = "9";
    EXPECT_CALL(m_stepped, SetFCInitorInfo(KEY, m_manager, StrEq("9"), StrEq("name"), IsEmpty(), false, _))
        .WillOnce(Return(true));
    EXPECT_TRUE(Set(false));
    EXPECT_THAT(m_hostIds, ElementsAre("9"));
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoCountsNoHostWithoutAnId)
{
    EXPECT_CALL(m_stepped, SetFCInitorInfo).WillOnce(Return(true));
    EXPECT_TRUE(Set());
    EXPECT_THAT(m_hostIds, IsEmpty());
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoTurnsToIscsiWhenFcFails)
{
    ::testing::InSequence inThisOrder;
    EXPECT_CALL(m_stepped, SetFCInitorInfo).WillOnce(Return(false));
    EXPECT_CALL(m_stepped,
                SetIscsiInitorInfo(KEY, m_manager, m_targetIps, StrEq(""), StrEq("name"), IsEmpty(), true, _))
        .WillOnce(Return(true));
    EXPECT_TRUE(Set());
    EXPECT_THAT(LinesOf("SetInitiatorInfo"),
                ElementsAre("1 begin create initiator.", "1 create DEV1 iscsi initor result is :1",
                            "1 create initiator finished."));
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoLeavesTheHostToIscsiAsTheCallerWants)
{
    m_hostId = "9";
    EXPECT_CALL(m_stepped, SetFCInitorInfo).WillOnce(Return(false));
    EXPECT_CALL(m_stepped, SetIscsiInitorInfo(KEY, m_manager, m_targetIps, StrEq("9"), StrEq("name"), _, false, _))
        .WillOnce(Return(true));
    EXPECT_TRUE(Set(false));
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoGivesIscsiTheHostThatFcMade)
{
    EXPECT_CALL(m_stepped, SetFCInitorInfo).WillOnce(DoAll(SetArgReferee<2>("12"), Return(false)));
    EXPECT_CALL(m_stepped, SetIscsiInitorInfo(KEY, m_manager, m_targetIps, StrEq("12"), StrEq("name"),
                                              ElementsAre("12"), false, _))
        .WillOnce(Return(true));
    EXPECT_TRUE(Set());
    EXPECT_THAT(m_hostIds, ElementsAre("12"));
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoFailsWhenBothFail)
{
    EXPECT_CALL(m_stepped, SetFCInitorInfo).WillOnce(Return(false));
    EXPECT_CALL(m_stepped, SetIscsiInitorInfo).WillOnce(Return(false));
    EXPECT_FALSE(Set());
    EXPECT_THAT(LinesOf("SetInitiatorInfo"),
                ElementsAre("1 begin create initiator.", "1 create DEV1 iscsi initor result is :0",
                            "1 create initiator finished."));
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoWithoutAManagerTriesNeither)
{
    EXPECT_FALSE(m_stepped.SetInitiatorInfo(KEY, nullptr, m_targetIps, m_hostId, m_hostName, m_hostIds, true, m_array));
    EXPECT_THAT(LinesOf("SetInitiatorInfo"),
                ElementsAre("1 begin create initiator.", "4 devicemanager point is null."));
}

TEST_F(DeviceOperateInitiatorTest, SetInitiatorInfoMakesOneHostWhereFcIsOffline)
{
    Node::HasPorts({"2100"});
    Node::HasInitiator("iqn.node");
    Node::LogsInto("10.0.0.8");
    m_array->Answer("IsOnlineFCInitiator", -1);
    EXPECT_TRUE(m_device.SetInitiatorInfo(KEY, m_manager, m_targetIps, m_hostId, m_hostName, m_hostIds, true, m_array));
    EXPECT_THAT(m_san.Calls(),
                ElementsAre("create FC initiator 2100", "create host name", "add initiator 2100 to host 12",
                            "create iSCSI initiator iqn.node", "add initiator iqn.node to host 12"));
    EXPECT_EQ("12", m_hostId);
    EXPECT_THAT(m_hostIds, ElementsAre("12"));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("HOSTID", "12"), Pair("HOSTNAME", "name"), Pair("IQN", "iqn.node"),
                                          Pair("ISCSIINITIATORNAME", "iqn.node"), Pair("PROTOCOLTYPE", "iscsi")));
}

// ---- iSCSI

class DeviceOperateIscsiTest : public InitiatorProvisioningTest {
protected:
    bool Set(bool createHost = true)
    {
        return m_device.SetIscsiInitorInfo(KEY, m_manager, m_targetIps, m_hostId, m_hostName, m_hostIds, createHost,
                                           m_array);
    }

    Ips m_targetIps;
};

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoMakesAHostForANewInitiator)
{
    Node::HasInitiator("iqn.node");
    EXPECT_TRUE(Set());
    EXPECT_THAT(m_san.Calls(), ElementsAre("create iSCSI initiator iqn.node", "create host name",
                                           "add initiator iqn.node to host 12"));
    EXPECT_EQ("12", m_hostId);
    EXPECT_EQ("name", m_hostName);
    EXPECT_THAT(m_hostIds, ElementsAre("12"));
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_THAT(FileRecord(),
                ElementsAre(Pair("HOSTID", "12"), Pair("HOSTNAME", "name"), Pair("ISCSIINITIATORNAME", "iqn.node")));
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"),
                ElementsAre("1 begin check iscsi initiator.", "1 get IQN successed.",
                            "2 the array knows initiator iqn.node", "1 initiator parent id is:", "1 HOSTNAME: name",
                            "1 begin add initiator.", "1 create iscsi initiator finish."));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoAddsTheInitiatorToTheGivenHost)
{
    Node::HasInitiator("iqn.node");
    m_hostId = "9";
    EXPECT_TRUE(Set(false));
    EXPECT_THAT(m_san.Calls(), ElementsAre("create iSCSI initiator iqn.node", "add initiator iqn.node to host 9"));
    EXPECT_EQ("9", m_hostId);
    EXPECT_THAT(m_hostIds, ElementsAre("9"));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("ISCSIINITIATORNAME", "iqn.node")));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoMakesAHostBesideAGivenOneWhenTold)
{
    Node::HasInitiator("iqn.node");
    m_hostId = "9";
    EXPECT_TRUE(Set(true));
    EXPECT_EQ("12", m_hostId);
    EXPECT_THAT(m_hostIds, ElementsAre("12"));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoCountsNoHostWithoutAnId)
{
    Node::HasInitiator("iqn.node");
    EXPECT_TRUE(Set(false));
    EXPECT_THAT(m_hostIds, IsEmpty());
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoKeepsTheHostThatTheInitiatorHas)
{
    Node::HasInitiator("iqn.node");
    m_san.InitiatorBelongsTo("iqn.node", "99");
    EXPECT_TRUE(Set());
    EXPECT_THAT(m_san.Calls(), ElementsAre("create iSCSI initiator iqn.node"));
    EXPECT_THAT(m_array->Calls(), ElementsAre("GetHostName 99"));
    EXPECT_EQ("", m_hostId);
    EXPECT_EQ("host of the array", m_hostName);
    EXPECT_THAT(m_hostIds, ElementsAre("99"));
    EXPECT_THAT(FileRecord(),
                ElementsAre(Pair("DONOTDELETEHOST", "NOT"), Pair("HOSTID", "99"), Pair("HOSTNAME", "host of the array"),
                            Pair("ISCSIINITIATORNAME", "iqn.node")));
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"),
                ElementsAre("1 begin check iscsi initiator.", "1 get IQN successed.",
                            "2 the array knows initiator iqn.node", "1 initiator parent id is:99",
                            "1 create iscsi initiator finish."));
    EXPECT_THAT(LinesOf("UpdateConfigFile"),
                Contains("1 Host Already Exist, No Need To Create. ID: 99 Name: host of the array"));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoLogsIntoTheTargetsByTheInitiatorsName)
{
    Node::HasInitiator("iqn.node");
    Node::LogsInto("10.0.0.8");
    m_targetIps = {"10.0.0.8"};
    EXPECT_TRUE(Set());
    EXPECT_THAT(FileRecord(), Contains(Pair("IQN", "iqn.node")));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoFailsWithTheLogins)
{
    Node::HasInitiator("iqn.node");
    m_targetIps = {"10.0.0.8"}; // which is out of reach
    EXPECT_FALSE(Set());
    EXPECT_THAT(FileRecord(), Contains(Pair("ISCSIINITIATORNAME", "iqn.node")));
    EXPECT_EQ("1 create iscsi initiator finish.", LinesOf("SetIscsiInitorInfo").back());
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoWithoutAManagerAsksNobody)
{
    EXPECT_FALSE(
        m_device.SetIscsiInitorInfo(KEY, nullptr, m_targetIps, m_hostId, m_hostName, m_hostIds, true, m_array));
    EXPECT_THAT(m_shell.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"),
                ElementsAre("1 begin check iscsi initiator.", "4 devicemanager point is null."));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoOfANodeWithoutANameFails)
{
    Node::HasNoInitiator();
    EXPECT_FALSE(Set());
    EXPECT_THAT(m_san.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"), ElementsAre("1 begin check iscsi initiator.", "4 get IQN failed."));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoWithoutItsHandlerFails)
{
    Node::HasInitiator("iqn.node");
    m_san.HaveNoHandler(HANDLER_ISCSI_INITIATOR);
    EXPECT_FALSE(Set());
    EXPECT_THAT(m_san.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"),
                ElementsAre("1 begin check iscsi initiator.", "1 get IQN successed.", "1 get handler failed."));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoThatTheLibraryRefusesTellsItsReason)
{
    Node::HasInitiator("iqn.node");
    m_san.Fail("create iSCSI initiator", "bad name");
    EXPECT_FALSE(Set());
    EXPECT_EQ("", FileText());
    EXPECT_THAT(m_hostIds, IsEmpty());
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"), ElementsAre("1 begin check iscsi initiator.", "1 get IQN successed.",
                                                           "1 create Iscsi initiator failed. oLib ex:bad name"));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoWithoutItsHostFails)
{
    Node::HasInitiator("iqn.node");
    m_san.Fail("create host", "no space left");
    EXPECT_FALSE(Set());
    EXPECT_THAT(m_san.Calls(), ElementsAre("create iSCSI initiator iqn.node", "create host name"));
    EXPECT_THAT(m_hostIds, IsEmpty());
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"),
                ElementsAre("1 begin check iscsi initiator.", "1 get IQN successed.",
                            "2 the array knows initiator iqn.node", "1 initiator parent id is:", "1 HOSTNAME: name",
                            "1 set host failed. device id is :DEV1"));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoThatCannotAddTheInitiatorTellsTheReasonAndKeepsTheHost)
{
    Node::HasInitiator("iqn.node");
    m_san.Fail("add initiator", "host is full");
    EXPECT_FALSE(Set());
    EXPECT_EQ("12", m_hostId);
    EXPECT_THAT(m_hostIds, ElementsAre("12"));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("HOSTID", "12"), Pair("HOSTNAME", "name")));
    EXPECT_THAT(LinesOf("SetIscsiInitorInfo"),
                ElementsAre("1 begin check iscsi initiator.", "1 get IQN successed.",
                            "2 the array knows initiator iqn.node", "1 initiator parent id is:", "1 HOSTNAME: name",
                            "1 begin add initiator.", "1 add init to host failed. oLib ex:host is full"));
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoLetsWhatIsNoStandardExceptionPass)
{
    Node::HasInitiator("iqn.node");
    m_san.ThrowOther("create iSCSI initiator", 42);
    EXPECT_THROW(Set(), int);
}

TEST_F(DeviceOperateIscsiTest, SetIscsiInitorInfoLetsWhatIsNoStandardExceptionPassFromTheHost)
{
    Node::HasInitiator("iqn.node");
    m_san.ThrowOther("add initiator", 42);
    EXPECT_THROW(Set(), int);
}

// ---- the iSCSI targets

class DeviceOperateTargetsTest : public InitiatorProvisioningTest {
protected:
    DeviceOperateTargetsTest() { m_initiator.id = "iqn.of.the.array"; }

    bool Set(const Ips& targetIps)
    {
        return m_device.SetIscsiInitorInfoInner(KEY, m_manager, targetIps, "iqn.node", m_initiator, m_loginName);
    }

    IscsiInitiatorMO m_initiator;
    std::string m_loginName = "iqn.of.the.login";
};

TEST_F(DeviceOperateTargetsTest, SetIscsiInitorInfoInnerRecordsTheArraysInitiatorAndTheLogin)
{
    Node::LogsInto("10.0.0.8");
    EXPECT_TRUE(Set({"10.0.0.8"}));
    EXPECT_THAT(FileRecord(),
                ElementsAre(Pair("IQN", "iqn.of.the.login"), Pair("ISCSIINITIATORNAME", "iqn.of.the.array"),
                            Pair("PROTOCOLTYPE", "iscsi")));
    EXPECT_THAT(LinesOf("SetIscsiInitorInfoInner"),
                ElementsAre("1 Enter SetIscsiInitorInfoInner", "2 login iscsi target success! target ip is10.0.0.8",
                            "1 End SetIscsiInitorInfoInner"));
}

TEST_F(DeviceOperateTargetsTest, SetIscsiInitorInfoInnerStopsAtTheFirstTargetThatTakesTheLogin)
{
    Node::LogsInto("10.0.0.8", 24);
    Node::LogsInto("10.0.0.9");
    Node::LogsInto("10.0.0.10");
    EXPECT_TRUE(Set({"10.0.0.8", "10.0.0.9", "10.0.0.10"}));
    EXPECT_THAT(m_http.ConnectionTests(),
                ElementsAre(Pair("http://10.0.0.8:3260", 3), Pair("http://10.0.0.9:3260", 3)));
    EXPECT_THAT(LinesOf("SetIscsiInitorInfoInner"),
                ElementsAre("1 Enter SetIscsiInitorInfoInner", "4 login iscsi target failed, errornum is:24",
                            "2 login iscsi target success! target ip is10.0.0.9", "1 End SetIscsiInitorInfoInner"));
}

TEST_F(DeviceOperateTargetsTest, SetIscsiInitorInfoInnerFailsWhenNoTargetTakesTheLogin)
{
    Node::LogsInto("10.0.0.8", 24);
    EXPECT_FALSE(Set({"10.0.0.8", "10.0.0.9"})); // the second is out of reach
    EXPECT_THAT(FileRecord(), Contains(Pair("ISCSIINITIATORNAME", "iqn.of.the.array")));
    EXPECT_THAT(LinesOf("SetIscsiInitorInfoInner"),
                ElementsAre("1 Enter SetIscsiInitorInfoInner", "4 login iscsi target failed, errornum is:24",
                            "4 login iscsi target failed, errornum is:1", "4 login iscsi target failed!",
                            "1 End SetIscsiInitorInfoInner"));
}

TEST_F(DeviceOperateTargetsTest, SetIscsiInitorInfoInnerWithoutTargetsOnlyRecords)
{
    EXPECT_TRUE(Set({}));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("ISCSIINITIATORNAME", "iqn.of.the.array")));
    EXPECT_THAT(m_http.ConnectionTests(), IsEmpty());
    EXPECT_THAT(LinesOf("SetIscsiInitorInfoInner"),
                ElementsAre("1 Enter SetIscsiInitorInfoInner", "1 End SetIscsiInitorInfoInner"));
}

TEST_F(DeviceOperateTargetsTest, SetIscsiInitorInfoInnerWithoutAManagerRecordsNothing)
{
    EXPECT_FALSE(m_device.SetIscsiInitorInfoInner(KEY, nullptr, {"10.0.0.8"}, "iqn.node", m_initiator, m_loginName));
    EXPECT_EQ("", FileText());
    EXPECT_THAT(LinesOf("SetIscsiInitorInfoInner"),
                ElementsAre("1 Enter SetIscsiInitorInfoInner", "4 devicemanager point is null.",
                            "1 End SetIscsiInitorInfoInner"));
}

} // namespace

#include "tests/unit/device/node.h"
#include "tests/unit/device/provisioning_test.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

class DeviceOperateFCTest : public InitiatorProvisioningTest {
protected:
    bool Set(bool createHost = true)
    {
        return m_device.SetFCInitorInfo(KEY, m_manager, m_hostId, m_hostName, m_hostIds, createHost, m_array);
    }

    bool Create(bool createHost = true)
    {
        return m_device.CreateFCInitorOnDev(m_manager, "2100", m_hostId, KEY, m_hostName, m_hostIds, createHost,
                                            m_array);
    }
};

TEST_F(DeviceOperateFCTest, SetFCInitorInfoAddsEveryPortToOneHostAndRecordsThem)
{
    Node::HasPorts({"2100", "2101"});
    EXPECT_TRUE(Set());
    EXPECT_THAT(m_san.Calls(),
                ElementsAre("create FC initiator 2100", "create host name", "add initiator 2100 to host 12",
                            "create FC initiator 2101", "add initiator 2101 to host 12"));
    EXPECT_THAT(m_array->Calls(), ElementsAre("IsOnlineFCInitiator 2100", "IsOnlineFCInitiator 2101"));
    EXPECT_EQ("12", m_hostId);
    EXPECT_THAT(m_hostIds, IsEmpty()); // SetInitiatorInfo adds the host that comes back
    EXPECT_THAT(FileRecord(),
                ElementsAre(Pair("FCINITIATORNAME", ";2100;2101"), Pair("HOSTID", "12"), Pair("HOSTNAME", "name")));
    EXPECT_THAT(LinesOf("SetFCInitorInfo"),
                ElementsAre("1 set fc initiator.", "1 get WWPN COUNT is:2", "1 set fc initiator finish."));
}

TEST_F(DeviceOperateFCTest, SetFCInitorInfoNeedsOneOnlinePortOnly)
{
    Node::HasPorts({"2100", "2101", "2102"});
    m_array->Answer("IsOnlineFCInitiator 2100", -1);
    m_array->Answer("IsOnlineFCInitiator 2102", -1);
    EXPECT_TRUE(Set());
    EXPECT_THAT(FileRecord(), Contains(Pair("FCINITIATORNAME", ";2100;2101;2102")));
}

TEST_F(DeviceOperateFCTest, SetFCInitorInfoWithoutAnOnlinePortRecordsNoPort)
{
    Node::HasPorts({"2100", "2101"});
    m_array->Answer("IsOnlineFCInitiator", 1090519046);
    EXPECT_FALSE(Set());
    EXPECT_THAT(m_array->Calls(), SizeIs(2));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("HOSTID", "12"), Pair("HOSTNAME", "name")));
    EXPECT_THAT(LinesOf("SetFCInitorInfo"),
                ElementsAre("1 set fc initiator.", "1 get WWPN COUNT is:2", "2 no FC port is online."));
}

TEST_F(DeviceOperateFCTest, SetFCInitorInfoStopsAtThePortThatFails)
{
    Node::HasPorts({"2100", "2101"});
    m_san.Fail("create FC initiator", "bad port");
    EXPECT_FALSE(Set());
    EXPECT_THAT(m_san.Calls(), ElementsAre("create FC initiator 2100"));
    EXPECT_THAT(m_array->Calls(), IsEmpty());
    EXPECT_EQ("", FileText());
    EXPECT_THAT(LinesOf("SetFCInitorInfo"),
                ElementsAre("1 set fc initiator.", "1 get WWPN COUNT is:2", "1 create initor failed"));
}

TEST_F(DeviceOperateFCTest, SetFCInitorInfoOfANodeWithoutFcFails)
{
    Node::HasNoPorts();
    EXPECT_FALSE(Set());
    EXPECT_THAT(m_san.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("SetFCInitorInfo"), ElementsAre("1 set fc initiator.", "1 get WWPN failed."));
}

TEST_F(DeviceOperateFCTest, SetFCInitorInfoWithoutAManagerAsksNobody)
{
    EXPECT_FALSE(m_device.SetFCInitorInfo(KEY, nullptr, m_hostId, m_hostName, m_hostIds, true, m_array));
    EXPECT_THAT(m_shell.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("SetFCInitorInfo"), ElementsAre("1 set fc initiator.", "4 devicemanager point is null."));
}

TEST_F(DeviceOperateFCTest, SetFCInitorInfoThatCannotBeWrittenSucceeds)
{
    Node::HasPorts({"2100"});
    RemoveConfFolder();
    EXPECT_TRUE(Set());
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevMakesAHostForTheFirstPort)
{
    EXPECT_TRUE(Create());
    EXPECT_THAT(m_san.Calls(),
                ElementsAre("create FC initiator 2100", "create host name", "add initiator 2100 to host 12"));
    EXPECT_EQ("12", m_hostId);
    EXPECT_THAT(m_shell.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("CreateFCInitorOnDev"),
                ElementsAre("1 begin create FC initiator.", "2 the array knows initiator 2100",
                            "1 initiator parent id is:", "1 create fc initiator finish.", "1 HOSTNAME: name",
                            "1 begin add initiator to host."));
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevSharesAHostThatIsThere)
{
    m_hostId = "9";
    EXPECT_TRUE(Create(true));
    EXPECT_THAT(m_san.Calls(), ElementsAre("create FC initiator 2100", "add initiator 2100 to host 9"));
    EXPECT_EQ("9", m_hostId);
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevMakesNoHostUntold)
{
    m_hostId = "9";
    EXPECT_TRUE(Create(false));
    EXPECT_THAT(m_san.Calls(), ElementsAre("create FC initiator 2100", "add initiator 2100 to host 9"));
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevKeepsTheHostThatThePortHas)
{
    m_san.InitiatorBelongsTo("2100", "99");
    EXPECT_TRUE(Create());
    EXPECT_THAT(m_san.Calls(), ElementsAre("create FC initiator 2100"));
    EXPECT_THAT(m_array->Calls(), ElementsAre("GetHostName 99"));
    EXPECT_EQ("", m_hostId);
    EXPECT_EQ("host of the array", m_hostName);
    EXPECT_THAT(m_hostIds, ElementsAre("99"));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("DONOTDELETEHOST", "NOT"), Pair("HOSTID", "99"),
                                          Pair("HOSTNAME", "host of the array")));
    EXPECT_THAT(LinesOf("CreateFCInitorOnDev"),
                ElementsAre("1 begin create FC initiator.", "2 the array knows initiator 2100",
                            "1 initiator parent id is:99", "1 create fc initiator finish."));
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevWithoutItsHandlerFails)
{
    m_san.HaveNoHandler(HANDLER_FC_INITIATOR);
    EXPECT_FALSE(Create());
    EXPECT_THAT(m_san.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("CreateFCInitorOnDev"), ElementsAre("1 begin create FC initiator.", "1 get handler failed."));
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevWithoutAManagerGetsNoHandler)
{
    EXPECT_FALSE(m_device.CreateFCInitorOnDev(nullptr, "2100", m_hostId, KEY, m_hostName, m_hostIds, true, m_array));
    EXPECT_THAT(LinesOf("GetHandler"), Contains("4 devicemanager pointer is null."));
    EXPECT_THAT(LinesOf("CreateFCInitorOnDev"), ElementsAre("1 begin create FC initiator.", "1 get handler failed."));
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevThatTheLibraryRefusesTellsTheReasonInALineOfItsOwn)
{
    m_san.Fail("create FC initiator", "bad port");
    EXPECT_FALSE(Create());
    EXPECT_THAT(LinesOf("CreateFCInitorOnDev"),
                ElementsAre("1 begin create FC initiator.", "1 create FC initiator failed.", "1 oLib ex:bad port"));
}

TEST_F(DeviceOperateFCTest, SetFCInitorInfoMakesNoHostUnderTheNameOfAnotherPortsHost)
{
    Node::HasPorts({"2100", "2101"});
    m_san.InitiatorBelongsTo("2100", "99");
    EXPECT_TRUE(Set());
    EXPECT_THAT(m_san.Calls(), ElementsAre("create FC initiator 2100", "create FC initiator 2101", "create host name",
                                           "add initiator 2101 to host 12"));
    EXPECT_EQ("host of the array", m_hostName); // what was found last, as ever
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevWithoutItsHostFails)
{
    m_san.Fail("create host", "no space left");
    EXPECT_FALSE(Create());
    EXPECT_EQ("", m_hostId);
    EXPECT_THAT(LinesOf("CreateFCInitorOnDev"),
                ElementsAre("1 begin create FC initiator.", "2 the array knows initiator 2100",
                            "1 initiator parent id is:", "1 create fc initiator finish.", "1 HOSTNAME: name",
                            "1 set host failed. device id is :DEV1"));
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevThatCannotAddThePortTellsTheReason)
{
    m_san.Fail("add initiator", "host is full");
    EXPECT_FALSE(Create());
    EXPECT_EQ("12", m_hostId);
    EXPECT_THAT(LinesOf("CreateFCInitorOnDev"),
                ElementsAre("1 begin create FC initiator.", "2 the array knows initiator 2100",
                            "1 initiator parent id is:", "1 create fc initiator finish.", "1 HOSTNAME: name",
                            "1 begin add initiator to host.", "1 add init to host failed. oLib ex:host is full"));
}

TEST_F(DeviceOperateFCTest, CreateFCInitorOnDevLetsWhatIsNoStandardExceptionPass)
{
    m_san.ThrowOther("create FC initiator", 42);
    EXPECT_THROW(Create(), int);
}

} // namespace

#include "common/framework/log_proxy.h"
#include "tests/support/named_row.h"
#include "tests/unit/device/device_set_test.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/thread.hpp>

#include <pthread.h>

#include <stdexcept>
#include <thread>

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

class DeviceSetOperatorInitTest : public DeviceSetTest {
protected:
    /// The record can be read, and then no file can be written any more.
    void RemoveConfFolderAfterReading()
    {
        m_log.Observe([this](const LogLine& line) {
            if (line.text == "Enter CheckInitSub") {
                RemoveConfFolder();
            }
        });
    }

    void ExpectManagerReleased() const
    {
        EXPECT_EQ(1, m_san.ManagersMade());
        EXPECT_EQ(1, m_san.ManagersReleased());
    }
};

// ---- from nothing

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetMakesEverythingUnderOneGeneratedName)
{
    HaveIscsiNode();
    const std::string name = NAME;
    EXPECT_TRUE(Init());
    EXPECT_THAT(m_san.Calls(),
                ElementsAre("create iSCSI initiator iqn.node", "create host " + name,
                            "add initiator iqn.node to host 12", "create host group " + name,
                            "add host 12 to host group 5", "create LUN group " + name, "create mapping view " + name,
                            "add host group 5 to mapping view 7", "add LUN group 31 to mapping view 7"));
    EXPECT_EQ((Record{{"HOSTID", "12"},
                      {"HOSTNAME", name},
                      {"HOSTGROUPID", "5"},
                      {"HOSTGROUPNAME", name},
                      {"LUNGROUPID", "31"},
                      {"LUNGROUPNAME", name},
                      {"MAPVIEWID", "7"},
                      {"MAPVIEWNAME", name},
                      {"ISCSIINITIATORNAME", "iqn.node"},
                      {"IQN", "iqn.node"},
                      {"PROTOCOLTYPE", "iscsi"}}),
              FileRecord());
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre(KEY, "5", name, "12", name, "31", name, "7", name));
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), ElementsAre(Key(KEY)));
    EXPECT_THAT(m_san.InstanceArguments(), ElementsAre("0,500000"));
    ASSERT_THAT(m_san.Connections(), SizeIs(1));
    EXPECT_EQ("TOK1", m_san.Connections().front().token);
    ExpectManagerReleased();
    EXPECT_EQ(22, m_random.Draws());
    EXPECT_THAT(LinesOf("InitDeviceSet"),
                ElementsAre("1 begin init device set.", "1 begin set initiator.", "1 init device set finish."));
    EXPECT_THAT(LinesOf("PrepareAndCheckInit"),
                ElementsAre("1 Enter PrepareAndCheckInit", "1 The device need to init!", "1 End PrepareAndCheckInit"));
    EXPECT_THAT(LinesOf("InitDeviceSetInner"), ElementsAre("1 Enter InitDeviceSetInner", "1 End InitDeviceSetInner"));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetTakesItsStepsInOrder)
{
    HaveIscsiNode();
    EXPECT_TRUE(Init());
    std::vector<std::string> steps;
    for (const std::string& logger : Loggers()) {
        for (const char* const step :
             {"InitDeviceSet", "PrepareAndCheckInit", "GetDeviceManager", "InitDeviceManager", "ReadInfoFromJson",
              "GetRandStr", "SetDeviceMessage", "CheckInitSub", "SetInitiatorInfo", "InitDeviceSetInner",
              "SetHostGroupInfo", "SetLunGroupInfo", "SetMapViewInfo", "AddZavMessage"}) {
            if (logger == step) {
                steps.push_back(step);
            }
        }
    }
    EXPECT_THAT(steps, ElementsAre("InitDeviceSet", "PrepareAndCheckInit", "GetDeviceManager", "InitDeviceManager",
                                   "ReadInfoFromJson", "GetRandStr", "SetDeviceMessage", "CheckInitSub",
                                   "SetInitiatorInfo", "InitDeviceSetInner", "SetHostGroupInfo", "SetLunGroupInfo",
                                   "SetMapViewInfo", "AddZavMessage"));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetNamesTheGroupsByItselfBesideAHostOfTheArray)
{
    HaveIscsiNode();
    m_san.InitiatorBelongsTo("iqn.node", "99");
    EXPECT_TRUE(Init());
    const std::string name = NAME;
    EXPECT_THAT(m_san.Calls(), Contains("add host 99 to host group 5"));
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre(KEY, "5", name, "99", "host of the array", "31", name, "7", name));
    EXPECT_THAT(FileRecord(), Contains(Pair("DONOTDELETEHOST", "NOT")));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetGoesOnWithoutInitiators)
{
    Node::HasNoPorts();
    Node::HasNoInitiator();
    EXPECT_TRUE(Init());
    EXPECT_THAT(m_san.Calls().front(), StartsWith("create host group"));
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), SizeIs(1));
}

// ---- with a record on disk

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetMakesOnlyWhatTheRecordLacks)
{
    WriteRecord({{"HOSTID", "12"}, {"HOSTNAME", "host"}, {"LUNGROUPID", "30"}, {"LUNGROUPNAME", "luns"}});
    HaveIscsiNode();
    EXPECT_TRUE(Init());
    const std::string name = NAME;
    EXPECT_THAT(m_san.Calls(),
                ElementsAre("create iSCSI initiator iqn.node", "add initiator iqn.node to host 12",
                            "create host group " + name, "add host 12 to host group 5", "create mapping view " + name,
                            "add host group 5 to mapping view 7", "add LUN group 30 to mapping view 7"));
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre(KEY, "5", name, "12", "host", "30", "luns", "7", name));
    EXPECT_THAT(LinesOf("InitDeviceSetInner"), Contains("1 ,LUNGRPID:30"));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetOfACompleteRecordMakesNothingNew)
{
    WriteRecord(CompleteRecord());
    HaveIscsiNode();
    EXPECT_TRUE(Init());
    EXPECT_THAT(m_array->Calls(), ElementsAre("CheckHost 12 host", "CheckHostGroup 5 hosts", "CheckLunGroup 31 luns",
                                              "CheckMapView 7 view"));
    EXPECT_THAT(m_san.Calls(), ElementsAre("create iSCSI initiator iqn.node", "add initiator iqn.node to host 12"));
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre(KEY, "5", "hosts", "12", "host", "31", "luns", "7", "view"));
    EXPECT_THAT(LinesOf("InitDeviceSetInner"), ElementsAre("1 Enter InitDeviceSetInner", "1 ,HOSTGRPID:5",
                                                           "1 ,LUNGRPID:31", "1 End InitDeviceSetInner"));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetMakesEverythingAnewWhenAnObjectIsGone)
{
    WriteRecord(CompleteRecord());
    HaveIscsiNode();
    m_array->Answer("CheckLunGroup", 1077936861);
    EXPECT_TRUE(Init());
    const std::string name = NAME;
    EXPECT_THAT(m_san.Calls(), AllOf(Contains("create host " + name), Contains("create host group " + name),
                                     Contains("create LUN group " + name), Contains("create mapping view " + name)));
    EXPECT_THAT(FileRecord(), Contains(Pair("LUNGROUPNAME", name)));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetThatStopsHalfWayForgetsWhatIsGone)
{
    Record record = CompleteRecord();
    record["DONOTDELETEHOST"] = "NOT";
    record["IQN"] = "iqn.node";
    record["PROTOCOLTYPE"] = "iscsi";
    WriteRecord(record);
    HaveIscsiNode();
    m_array->Answer("CheckHost", 1077937498);
    m_san.Fail("create host group", "no space left");
    EXPECT_FALSE(Init());
    const std::string name = NAME;
    EXPECT_EQ((Record{{"HOSTID", "12"},
                      {"HOSTNAME", name},
                      {"IQN", "iqn.node"},
                      {"ISCSIINITIATORNAME", "iqn.node"},
                      {"PROTOCOLTYPE", "iscsi"}}),
              FileRecord());
    EXPECT_THAT(LinesOf("InitDeviceSet"),
                Contains("2 Everything is made anew: forget MAPVIEWID:7, MAPVIEWNAME:view, LUNGROUPID:31, "
                         "LUNGROUPNAME:luns, HOSTGROUPID:5, HOSTGROUPNAME:hosts, HOSTID:12, HOSTNAME:host, "
                         "ISCSIINITIATORNAME:iqn.node, FCINITIATORNAME:, DONOTDELETEHOST:NOT"));

    // The next run finds the new host, and makes what is missing.
    m_array->Answer("CheckHost", 0);
    m_san.Clear();
    EXPECT_TRUE(Init());
    EXPECT_THAT(m_san.Calls(), AllOf(Contains("create host group " + name), Contains("create LUN group " + name),
                                     Contains("create mapping view " + name), Not(Contains("create host " + name))));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetTellsNothingOfWhatIsGone)
{
    Record record = CompleteRecord();
    record["FCINITIATORNAME"] = ";2100";
    WriteRecord(record);
    Node::HasNoPorts();
    Node::HasNoInitiator();
    m_array->Answer("CheckHost", 1077937498);
    EXPECT_TRUE(Init());
    const std::string name = NAME;
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre(KEY, "5", name, "", "", "31", name, "7", name));

    // Nor does a port that was recorded then stand in for an iSCSI session later.
    Node::HasPorts({"2100"});
    EXPECT_FALSE(m_operator.PrepareAndCheckInit(Session(), m_storageIps, m_array, m_mapInfo));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetForgetsInOneWriteUnderTheFileLockBeforeAnythingIsMade)
{
    WriteRecord(CompleteRecord());
    HaveIscsiNode();
    m_array->Answer("CheckMapView", 1077951819);
    const DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    std::string toldBefore; // what the file held when the line was logged
    bool wasHeld = false;
    Record atFirstCall = {{"none", ""}};
    m_log.Observe([&](const LogLine& line) {
        if (line.text.rfind("Everything is made anew", 0) == 0) {
            toldBefore = FileText();
            wasHeld = watch.IsHeld();
        }
    });
    m_san.Observe([&](const std::string& call) {
        if (call != "connect" && atFirstCall.count("none") != 0) {
            atFirstCall = FileRecord();
        }
    });
    EXPECT_TRUE(Init());
    m_log.Observe(nullptr);
    EXPECT_THAT(toldBefore, HasSubstr("MAPVIEWID"));
    EXPECT_TRUE(wasHeld);
    EXPECT_THAT(atFirstCall, IsEmpty());
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetWithARecordThatCannotBeWrittenMakesEverythingAnewAllTheSame)
{
    WriteRecord(CompleteRecord());
    HaveIscsiNode();
    m_array->Answer("CheckMapView", 1077951819);
    m_operator.m_onPrepare = [this] { RemoveConfFolderAfterReading(); };
    EXPECT_TRUE(Init());
    EXPECT_THAT(m_san.Calls(), Contains("create mapping view " + std::string(NAME)));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetTellsThatTheInitiatorsAreMissing)
{
    Node::HasNoPorts();
    Node::HasNoInitiator();
    EXPECT_TRUE(Init());
    EXPECT_THAT(LinesOf("InitDeviceSet"),
                ElementsAre("1 begin init device set.", "1 begin set initiator.",
                            "3 The node's initiators could not be set up. Going on to the groups.",
                            "1 init device set finish."));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetTakesAFileThatIsNoJsonForAnEmptyOne)
{
    WriteFile("{");
    HaveIscsiNode();
    EXPECT_TRUE(Init());
    EXPECT_EQ("{", FileText());
    EXPECT_THAT(m_san.Calls(), Contains("create host " + std::string(NAME)));
}

// ---- a device that is known

class DeviceSetOperatorKnownTest : public DeviceSetOperatorInitTest {
protected:
    DeviceSetOperatorKnownTest() { InitSuccessfully(); }
};

TEST_F(DeviceSetOperatorKnownTest, InitDeviceSetFindsTheWorkDone)
{
    Node::IsLoggedInto({"10.0.0.8"});
    const auto before = m_operator.GetMapDeviceOperate();
    EXPECT_TRUE(Init());
    EXPECT_EQ(0, m_san.ManagersMade());
    EXPECT_EQ(before, m_operator.GetMapDeviceOperate());
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre(KEY, "5", NAME, "12", NAME, "31", NAME, "7", NAME));
    EXPECT_THAT(LinesOf("InitDeviceSet"), ElementsAre("1 begin init device set.", "1 The device has been init!"));
    EXPECT_THAT(LinesOf("PrepareAndCheckInit"),
                ElementsAre("1 Enter PrepareAndCheckInit", "1 The device has been init!", "1 End PrepareAndCheckInit"));
}

TEST_F(DeviceSetOperatorKnownTest, InitDeviceSetChecksWithTheStorageIpsOfTheCall)
{
    Node::IsLoggedInto({"10.0.0.9"}); // which is none of them
    const auto before = m_operator.GetMapDeviceOperate();
    EXPECT_TRUE(Init());
    EXPECT_EQ(1, m_san.ManagersMade());
    EXPECT_NE(before.at(KEY), m_operator.GetMapDeviceOperate().at(KEY));
    EXPECT_THAT(LinesOf("PrepareAndCheckInit"),
                ElementsAre("1 Enter PrepareAndCheckInit", "1 The device need to init!", "1 End PrepareAndCheckInit"));
}

TEST_F(DeviceSetOperatorKnownTest, PrepareAndCheckInitForgetsADeviceThatMustBeMadeAgain)
{
    Node::IsLoggedInto({});
    EXPECT_FALSE(m_operator.PrepareAndCheckInit(Session(), m_storageIps, m_array, m_mapInfo));
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), IsEmpty());
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre("", "", "", "", "", "", "", "", ""));
}

TEST_F(DeviceSetOperatorKnownTest, PrepareAndCheckInitAsksOnlyTheSessionsDevice)
{
    Zav::SessionInfo other = Session();
    other.deviceId = "DEV2";
    EXPECT_FALSE(m_operator.PrepareAndCheckInit(other, m_storageIps, m_array, m_mapInfo));
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), SizeIs(1));
    EXPECT_THAT(LinesOf("CheckInit"), IsEmpty());
    EXPECT_THAT(LinesOf("PrepareAndCheckInit"),
                ElementsAre("1 Enter PrepareAndCheckInit", "1 The device need to init!", "1 End PrepareAndCheckInit"));
}

TEST_F(DeviceSetOperatorKnownTest, InitDeviceSetKeepsADeviceThatIsInTheMap)
{
    m_operator.m_prepared = false;
    const auto before = m_operator.GetMapDeviceOperate();
    EXPECT_TRUE(Init());
    EXPECT_EQ(1, m_san.ManagersMade());
    EXPECT_EQ(before, m_operator.GetMapDeviceOperate());
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre(KEY, "5", NAME, "12", NAME, "31", NAME, "7", NAME));
}

TEST_F(DeviceSetOperatorKnownTest, InitDeviceSetThatFailsForgetsTheDevice)
{
    Node::IsLoggedInto({});
    m_san.RefuseConnections();
    EXPECT_FALSE(Init());
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), IsEmpty());
}

TEST_F(DeviceSetOperatorKnownTest, PrepareAndCheckInitKeepsTheDeviceWhileItIsChecked)
{
    Node::IsLoggedInto({"10.0.0.8"});
    std::size_t devices = 0;
    m_log.Observe([&](const LogLine& line) {
        if (line.text == "Enter CheckInitSub") {
            devices = m_operator.GetMapDeviceOperate().size();
        }
    });
    EXPECT_TRUE(Init());
    m_log.Observe(nullptr);
    EXPECT_EQ(1U, devices);
}

TEST_F(DeviceSetOperatorKnownTest, PrepareAndCheckInitForgetsADeviceWhoseCheckThrows)
{
    WriteFile("[1]"); // of which no record can be read
    EXPECT_FALSE(m_operator.PrepareAndCheckInit(Session(), m_storageIps, m_array, m_mapInfo));
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), IsEmpty());
    EXPECT_THAT(LinesOf("PrepareAndCheckInit"),
                ElementsAre("1 Enter PrepareAndCheckInit", "4 check init failed!", StartsWith("4 The cause: "),
                            "1 The device need to init!", "1 End PrepareAndCheckInit"));
}

TEST_F(DeviceSetOperatorKnownTest, PrepareAndCheckInitForgetsADeviceWhoseFileIsLockedOutAndThrows)
{
    Node::IsLoggedInto({"10.0.0.8"});
    DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    watch.Refuse();
    EXPECT_THROW(m_operator.PrepareAndCheckInit(Session(), m_storageIps, m_array, m_mapInfo), boost::lock_error);
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), IsEmpty());
}

TEST_F(DeviceSetOperatorKnownTest, InitDeviceSetConnectsWithTheSessionsTextsAsTheyAreAfterTheCheck)
{
    Node::IsLoggedInto({"10.0.0.8"});
    m_array->Answer("CheckMapView", 1077951819);
    m_array->m_session = Session();
    m_array->m_session->cookie = "session=c2"; // a removal of the cleanup brought it
    EXPECT_TRUE(Init());
    ASSERT_THAT(m_san.Connections(), SizeIs(1));
    EXPECT_EQ("session=c2", m_san.Connections().front().cookie);
    EXPECT_EQ("TOK1", m_san.Connections().front().token);
}

TEST_F(DeviceSetOperatorKnownTest, InitDeviceSetTakesNoTextsOfAnotherDevicesSession)
{
    Node::IsLoggedInto({});
    m_array->m_session = Session();
    m_array->m_session->deviceId = "DEV2";
    m_array->m_session->cookie = "session=c2";
    EXPECT_TRUE(Init());
    EXPECT_EQ("session=c1", m_san.Connections().front().cookie);
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetOfAnUnknownDeviceConnectsWithTheSessionThatItGot)
{
    HaveIscsiNode();
    m_array->m_session = Session();
    m_array->m_session->cookie = "session=c2";
    EXPECT_TRUE(Init());
    EXPECT_EQ("session=c1", m_san.Connections().front().cookie);
}

// ---- failures

TEST_F(DeviceSetOperatorInitTest, InitDeviceManagerKeepsAnExceptionOfTheLibraryToItself)
{
    m_san.Observe([](const std::string& call) {
        if (call == "connect") {
            throw std::runtime_error("no socket left");
        }
    });
    CDeviceManager* manager = m_operator.GetDeviceManager();
    EXPECT_FALSE(m_operator.InitDeviceManager(Session(), &manager));
    CDeviceManager::releaseInstance(manager);
    EXPECT_THAT(LinesOf("InitDeviceManager"),
                ElementsAre("1 init devicemanager pointer.", "1 begin extract address and port.",
                            "1 begin connect device.", "4 connect device failed.", "4 The cause: no socket left"));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetGoesOnToTheGroupsWhereTheLibraryThrowsForTheInitiators)
{
    HaveIscsiNode();
    m_san.Fail("get handler 7", "no memory left");
    EXPECT_TRUE(Init());
    EXPECT_THAT(LinesOf("InitDeviceSet"),
                Contains("3 The node's initiators could not be set up. Going on to the groups."));
    EXPECT_THAT(m_san.Calls(), Contains(StartsWith("create mapping view ")));
    ExpectManagerReleased();
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetWithoutAHandleFailsAndReleasesNone)
{
    m_san.HaveNoManager();
    EXPECT_FALSE(Init());
    EXPECT_EQ(0, m_san.ManagersReleased());
    EXPECT_THAT(LinesOf("InitDeviceManager"), Contains("4 devicemanager pointer is null."));
    EXPECT_THAT(LinesOf("InitDeviceSet"), ElementsAre("1 begin init device set.", "4 init device manager failed."));
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), IsEmpty());
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetThatTheArrayRefusesReleasesTheHandle)
{
    m_san.RefuseConnections();
    EXPECT_FALSE(Init());
    ExpectManagerReleased();
    EXPECT_THAT(LinesOf("InitDeviceSet"), ElementsAre("1 begin init device set.", "4 init device manager failed."));
    EXPECT_THAT(LinesOf("ReadInfoFromJson"), IsEmpty());
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetWithoutANameMakesNothing)
{
    m_random.Fail(3);
    EXPECT_FALSE(Init());
    ExpectManagerReleased();
    EXPECT_THAT(m_san.Calls(), IsEmpty());
    EXPECT_THAT(LinesOf("InitDeviceSet"), ElementsAre("1 begin init device set.", "4 init device failed!"));
}

struct FailureRow : NamedRow {
    std::string operation;
    std::string line;
    std::size_t recorded; // members of the record that stay
};

class DeviceSetOperatorFailureTest : public DeviceSetOperatorInitTest,
                                     public ::testing::WithParamInterface<FailureRow> {};

TEST_P(DeviceSetOperatorFailureTest, InitDeviceSetStopsAtTheObjectThatCannotBeMadeAndLeavesTheRest)
{
    HaveIscsiNode();
    m_san.Fail(GetParam().operation, "no space left");
    EXPECT_FALSE(Init());
    ExpectManagerReleased();
    EXPECT_THAT(FileRecord(), SizeIs(GetParam().recorded));
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), IsEmpty());
    EXPECT_THAT(Texts(m_mapInfo), ElementsAre("", "", "", "", "", "", "", "", ""));
    EXPECT_THAT(m_san.Calls().back(), StartsWith(GetParam().operation));
    EXPECT_THAT(LinesOf("InitDeviceSetInner"),
                ElementsAre("1 Enter InitDeviceSetInner", GetParam().line, "1 End InitDeviceSetInner"));
    EXPECT_THAT(LinesOf("InitDeviceSet"),
                ElementsAre("1 begin init device set.", "1 begin set initiator.", "4 init device failed!"));
}

INSTANTIATE_TEST_SUITE_P(
    Objects, DeviceSetOperatorFailureTest,
    ::testing::Values(FailureRow{{"HostGroup"}, "create host group", "4 set host group failed.", 5},
                      FailureRow{{"LunGroup"}, "create LUN group", "4 set lun group failed.", 7},
                      FailureRow{{"MapView"}, "create mapping view", "4 set mapview failed.", 9}),
    RowName<FailureRow>);

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetKeepsTheJsonLibrarysErrorToItself)
{
    WriteFile(R"({"DEV1": "text"})");
    EXPECT_FALSE(Init());
    ExpectManagerReleased();
    EXPECT_THAT(LinesOf("InitDeviceSet"), ElementsAre("1 begin init device set.", "4 init device failed!",
                                                      AllOf(StartsWith("4 The cause: "), HasSubstr("objectValue"))));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetKeepsWhatIsNoStandardExceptionToItself)
{
    HaveIscsiNode();
    m_san.ThrowOther("create LUN group", 42);
    EXPECT_FALSE(Init());
    ExpectManagerReleased();
    EXPECT_THAT(LinesOf("InitDeviceSetInner"),
                ElementsAre("1 Enter InitDeviceSetInner", "4 set lun group failed.",
                            "4 The cause: an exception without a text", "1 End InitDeviceSetInner"));
    EXPECT_EQ("4 init device failed!", LinesOf("InitDeviceSet").back());
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetLetsAThreadThatIsCancelledEnd)
{
    HaveIscsiNode();
    const DeviceSystemCalls::LockWatch watch(m_operator);
    m_san.Observe([](const std::string& call) {
        if (call.rfind("create LUN group", 0) == 0) {
            pthread_exit(nullptr); // unwinds as a cancellation does
        }
    });
    bool isDone = false;
    std::thread thread([this, &isDone] {
        TSP_RequestID.set(REQUEST_ID);
        Init();
        isDone = true;
    });
    thread.join();
    EXPECT_FALSE(isDone);
    EXPECT_FALSE(watch.IsHeld());
    ExpectManagerReleased();
    EXPECT_THAT(LinesOf("InitDeviceSet"), Not(Contains("4 init device failed!")));
}

// ---- locks

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetHoldsItsLockFromTheCheckUntilTheHandleIsReleased)
{
    HaveIscsiNode();
    const DeviceSystemCalls::LockWatch watch(m_operator);
    bool wasHeldAtCheck = false;
    bool wasHeldAtRelease = false;
    m_operator.m_onPrepare = [&] { wasHeldAtCheck = watch.IsHeld(); };
    m_san.ObserveRelease([&] { wasHeldAtRelease = watch.IsHeld(); });
    EXPECT_TRUE(Init());
    EXPECT_TRUE(wasHeldAtCheck);
    EXPECT_TRUE(wasHeldAtRelease);
    EXPECT_EQ(1, watch.Locks());
    EXPECT_FALSE(watch.IsHeld());
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetWithoutItsLockThrowsAndDoesNothing)
{
    DeviceSystemCalls::LockWatch watch(m_operator);
    watch.Refuse();
    EXPECT_THROW(Init(), boost::lock_error);
    EXPECT_THAT(LinesOf("InitDeviceSet"), IsEmpty());
    EXPECT_EQ(0, m_san.ManagersMade());
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetLetsTheFilesLockErrorPassAndReleasesTheHandle)
{
    DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    watch.Refuse();
    EXPECT_THROW(Init(), boost::lock_error);
    ExpectManagerReleased();
    EXPECT_THAT(LinesOf("InitDeviceSet"), ElementsAre("1 begin init device set."));
}

TEST_F(DeviceSetOperatorInitTest, InitDeviceSetLetsOneCallerInAtATime)
{
    HaveIscsiNode();
    Node::IsLoggedInto({"10.0.0.8"});
    int inside = 0; // guarded by the operator's lock, as the thread sanitizer would tell
    m_operator.m_onPrepare = [&] { EXPECT_EQ(0, inside++); };
    m_san.ObserveRelease([&] { --inside; });
    boost::thread_group callers;
    for (int caller = 0; caller < 4; ++caller) {
        callers.create_thread([this, caller] {
            Zav::SessionInfo session = Session();
            session.deviceId = "DEV" + std::to_string(caller);
            ZavMapInfo mapInfo;
            const auto array = boost::make_shared<FakeArray>();
            EXPECT_TRUE(m_operator.InitDeviceSet(session, m_storageIps, array, mapInfo));
        });
    }
    callers.join_all();
    EXPECT_EQ(0, inside);
    EXPECT_THAT(m_operator.GetMapDeviceOperate(), SizeIs(4));
}

// ---- the groups

class DeviceSetOperatorInnerTest : public DeviceSetTest {
protected:
    DeviceSetOperatorInnerTest()
        : m_manager(CDeviceManager::getInstance(0, 0))
    {
    }
    ~DeviceSetOperatorInnerTest() override { CDeviceManager::releaseInstance(m_manager); }

    bool InitInner(CDeviceManager* manager)
    {
        std::string name = "name";
        return m_operator.InitDeviceSetInner(Session(), m_storageIps, m_info, m_device, manager, name, {"12"},
                                             m_position, m_result);
    }

    CDeviceManager* const m_manager;
    const boost::shared_ptr<DeviceOperate> m_device = boost::make_shared<DeviceOperate>();
    Record m_info;
    Record::iterator m_position = m_info.end();
    bool m_result = true;
};

TEST_F(DeviceSetOperatorInnerTest, InitDeviceSetInnerMakesGroupsAndView)
{
    m_result = false;
    EXPECT_TRUE(InitInner(m_manager));
    EXPECT_TRUE(m_result);
    EXPECT_EQ(m_info.end(), m_position);
    EXPECT_THAT(m_san.Calls(), ElementsAre("create host group name", "add host 12 to host group 5",
                                           "create LUN group name", "create mapping view name",
                                           "add host group 5 to mapping view 7", "add LUN group 31 to mapping view 7"));
    EXPECT_THAT(m_info, IsEmpty());
}

TEST_F(DeviceSetOperatorInnerTest, InitDeviceSetInnerMakesNothingThatIsRecorded)
{
    m_info = {{"HOSTGROUPID", "50"}, {"LUNGROUPID", "310"}, {"MAPVIEWID", "70"}};
    EXPECT_TRUE(InitInner(m_manager));
    EXPECT_THAT(m_san.Calls(), IsEmpty());
    EXPECT_EQ(m_info.find("MAPVIEWID"), m_position);
    EXPECT_THAT(LinesOf("InitDeviceSetInner"), ElementsAre("1 Enter InitDeviceSetInner", "1 ,HOSTGRPID:50",
                                                           "1 ,LUNGRPID:310", "1 End InitDeviceSetInner"));
}

TEST_F(DeviceSetOperatorInnerTest, InitDeviceSetInnerJoinsTheRecordedGroupsInTheView)
{
    m_info = {{"HOSTGROUPID", "50"}, {"LUNGROUPID", "310"}};
    EXPECT_TRUE(InitInner(m_manager));
    EXPECT_THAT(m_san.Calls(), ElementsAre("create mapping view name", "add host group 50 to mapping view 7",
                                           "add LUN group 310 to mapping view 7"));
}

TEST_F(DeviceSetOperatorInnerTest, InitDeviceSetInnerKeepsTheCallersFailureWhenNothingIsToBeMade)
{
    m_info = {{"HOSTGROUPID", "50"}, {"LUNGROUPID", "310"}, {"MAPVIEWID", "70"}};
    m_result = false;
    EXPECT_FALSE(InitInner(m_manager));
    EXPECT_FALSE(m_result);
    EXPECT_THAT(LinesOf("InitDeviceSetInner"), Contains("4 set mapview failed."));
}

TEST_F(DeviceSetOperatorInnerTest, InitDeviceSetInnerWithoutAManagerDoesNothing)
{
    EXPECT_FALSE(InitInner(nullptr));
    EXPECT_TRUE(m_result);
    EXPECT_THAT(LinesOf("InitDeviceSetInner"), ElementsAre("1 Enter InitDeviceSetInner", "1 End InitDeviceSetInner"));
}

TEST_F(DeviceSetOperatorInnerTest, InitDeviceSetInnerKeepsEveryExceptionButTheLockErrorToItself)
{
    m_san.ThrowOther("create mapping view", 42);
    EXPECT_FALSE(InitInner(m_manager));
    EXPECT_FALSE(m_result);
    EXPECT_THAT(LinesOf("InitDeviceSetInner"),
                ElementsAre("1 Enter InitDeviceSetInner", "4 set mapview failed.",
                            "4 The cause: an exception without a text", "1 End InitDeviceSetInner"));

    DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    watch.Refuse();
    EXPECT_THROW(InitInner(m_manager), boost::lock_error);
}

TEST_F(DeviceSetOperatorInnerTest, InitDeviceSetInnerStopsAtTheHostGroupThatFails)
{
    m_info = {{"LUNGROUPID", "310"}};
    m_san.Fail("create host group", "no space left");
    EXPECT_FALSE(InitInner(m_manager));
    EXPECT_FALSE(m_result);
    EXPECT_EQ(m_info.end(), m_position);
}

} // namespace

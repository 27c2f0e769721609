#include "tests/support/named_row.h"
#include "tests/unit/device/provisioning_test.h"

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

TEST(HandlerTypeTest, HandlersBearTheSanLibrarysNumbers)
{
    EXPECT_EQ(3, HANDLER_LUN_GROUP);
    EXPECT_EQ(4, HANDLER_HOST);
    EXPECT_EQ(5, HANDLER_HOST_GROUP);
    EXPECT_EQ(6, HANDLER_MAPPING_VIEW);
    EXPECT_EQ(7, HANDLER_ISCSI_INITIATOR);
    EXPECT_EQ(11, HANDLER_FC_INITIATOR);
}

class DeviceOperateHandlerTest : public ProvisioningTest {
protected:
    CHandler* const m_untouched = m_manager->GetHandler(HANDLER_HOST);
    CHandler* m_handler = m_untouched;
};

TEST_F(DeviceOperateHandlerTest, GetHandlerAsksTheManager)
{
    EXPECT_TRUE(m_device.GetHandler(m_manager, &m_handler, HANDLER_LUN_GROUP));
    EXPECT_EQ(m_manager->GetHandler(HANDLER_LUN_GROUP), m_handler);
    EXPECT_THAT(LinesOf("GetHandler"), ElementsAre("1 begin get handler.", "1 get handler finish."));
}

TEST_F(DeviceOperateHandlerTest, GetHandlerWithoutAManagerAsksForNone)
{
    EXPECT_FALSE(m_device.GetHandler(nullptr, &m_handler, HANDLER_LUN_GROUP));
    EXPECT_EQ(m_untouched, m_handler);
    EXPECT_THAT(LinesOf("GetHandler"), ElementsAre("1 begin get handler.", "4 devicemanager pointer is null."));
}

TEST_F(DeviceOperateHandlerTest, GetHandlerFailsWhenTheManagerHasNone)
{
    m_san.HaveNoHandler(HANDLER_LUN_GROUP);
    EXPECT_FALSE(m_device.GetHandler(m_manager, &m_handler, HANDLER_LUN_GROUP));
    EXPECT_EQ(nullptr, m_handler);
    EXPECT_THAT(LinesOf("GetHandler"), ElementsAre("1 begin get handler.", "4 get handler failed, handler is null."));
}

TEST_F(DeviceOperateHandlerTest, GetHandlerKeepsAnExceptionOfTheLibraryToItself)
{
    m_san.Fail("get handler 3", "no memory left");
    EXPECT_FALSE(m_device.GetHandler(m_manager, &m_handler, HANDLER_LUN_GROUP));
    EXPECT_EQ(m_untouched, m_handler);
    EXPECT_THAT(LinesOf("GetHandler"),
                ElementsAre("1 begin get handler.", "4 get handler failed. oLib ex:no memory left"));
}

// One operation of the creation family. All make an object called "name".
struct CreationRow : NamedRow {
    bool (*create)(DeviceOperate& device, CDeviceManager* manager, std::string& id);
    bool tellsId; // whether `id` is an out-parameter of the operation
    HANDLERTYPE type;
    std::string creation; // in the words of the fake SAN library
    std::vector<std::string> calls;
    std::string id;
    std::string idKey;
    std::string nameKey;
    std::size_t memoryIndex; // of the id in Memory; the name follows it
    std::string begin;
    std::string failed;
    std::string end;
};

const CreationRow LUN_GROUP = {{"SetLunGroupInfo"},
                               [](DeviceOperate& device, CDeviceManager* manager, std::string& id) {
                                   return device.SetLunGroupInfo("DEV1", manager, "name", id);
                               },
                               true,
                               HANDLER_LUN_GROUP,
                               "create LUN group",
                               {"create LUN group name"},
                               "31",
                               "LUNGROUPID",
                               "LUNGROUPNAME",
                               4,
                               "1 begin create lun group.",
                               "1 create lun group failed.oLib ex:",
                               "1 create lun group finish."};
const CreationRow HOST = {{"SetHostInfo"},
                          [](DeviceOperate& device, CDeviceManager* manager, std::string& id) {
                              return device.SetHostInfo("DEV1", manager, "name", id);
                          },
                          true,
                          HANDLER_HOST,
                          "create host",
                          {"create host name"},
                          "12",
                          "HOSTID",
                          "HOSTNAME",
                          2,
                          "1 begin create host.",
                          "1 create host failed.oLib ex:",
                          "1 create host finish."};
const CreationRow HOST_GROUP = {{"SetHostGroupInfo"},
                                [](DeviceOperate& device, CDeviceManager* manager, std::string& id) {
                                    return device.SetHostGroupInfo("DEV1", manager, "name", {"9", "12", "10"}, id);
                                },
                                true,
                                HANDLER_HOST_GROUP,
                                "create host group",
                                {"create host group name", "add host 10 to host group 5", "add host 12 to host group 5",
                                 "add host 9 to host group 5"},
                                "5",
                                "HOSTGROUPID",
                                "HOSTGROUPNAME",
                                0,
                                "1 begin create host group.",
                                "1 create host group failed. oLib ex:",
                                "1 create host group finish."};
const CreationRow MAP_VIEW = {
    {"SetMapViewInfo"},
    [](DeviceOperate& device, CDeviceManager* manager, std::string& /*id*/) {
        return device.SetMapViewInfo("DEV1", manager, "name", "31", "5");
    },
    false,
    HANDLER_MAPPING_VIEW,
    "create mapping view",
    {"create mapping view name", "add host group 5 to mapping view 7", "add LUN group 31 to mapping view 7"},
    "7",
    "MAPVIEWID",
    "MAPVIEWNAME",
    6,
    "1 begin create mapview.",
    "1 create mapview failed.oLib ex:",
    "1 create mapview finish."};

class DeviceOperateCreationTest : public ProvisioningTest, public ::testing::WithParamInterface<CreationRow> {
protected:
    bool Create(CDeviceManager* manager) { return GetParam().create(m_device, manager, m_id); }

    void ExpectNothingKept()
    {
        EXPECT_EQ("", FileText());
        EXPECT_THAT(Memory(m_device), Each(""));
    }

    // The line that tells the object as soon as it is on the array.
    std::string Created() const
    {
        const std::string kind = GetParam().creation.substr(std::string("create ").size());
        return "2 created " + kind + " " + GetParam().id + ", name name";
    }

    void ExpectInMemory()
    {
        std::vector<std::string> expected(8);
        expected.at(GetParam().memoryIndex) = GetParam().id;
        expected.at(GetParam().memoryIndex + 1) = "name";
        EXPECT_EQ(expected, Memory(m_device));
    }

    std::string m_id = "untouched";
};

INSTANTIATE_TEST_SUITE_P(Of, DeviceOperateCreationTest, ::testing::Values(LUN_GROUP, HOST, HOST_GROUP, MAP_VIEW),
                         RowName<CreationRow>);

TEST_P(DeviceOperateCreationTest, CreationKeepsIdAndNameInFileAndMemory)
{
    EXPECT_TRUE(Create(m_manager));
    EXPECT_EQ(GetParam().calls, m_san.Calls());
    EXPECT_EQ(GetParam().tellsId ? GetParam().id : "untouched", m_id);
    EXPECT_EQ((Record{{GetParam().idKey, GetParam().id}, {GetParam().nameKey, "name"}}), FileRecord());
    ExpectInMemory();
    EXPECT_THAT(LinesOf(GetParam().name), ElementsAre(GetParam().begin, Created(), GetParam().end));
    EXPECT_EQ(GetParam().name, Loggers().front());
}

TEST_P(DeviceOperateCreationTest, CreationWithoutAManagerFails)
{
    EXPECT_FALSE(Create(nullptr));
    EXPECT_EQ("untouched", m_id);
    EXPECT_THAT(LinesOf(GetParam().name), ElementsAre(GetParam().begin, "4 devicemanager point is null."));
    EXPECT_THAT(LinesOf("GetHandler"), IsEmpty());
    ExpectNothingKept();
}

TEST_P(DeviceOperateCreationTest, CreationWithoutItsHandlerFails)
{
    m_san.HaveNoHandler(GetParam().type);
    EXPECT_FALSE(Create(m_manager));
    EXPECT_EQ("untouched", m_id);
    EXPECT_THAT(LinesOf(GetParam().name), ElementsAre(GetParam().begin, "1 get handler failed."));
    EXPECT_THAT(m_san.Calls(), IsEmpty());
    ExpectNothingKept();
}

TEST_P(DeviceOperateCreationTest, CreationThatTheLibraryRefusesTellsItsReason)
{
    m_san.Fail(GetParam().creation, "no space left");
    EXPECT_FALSE(Create(m_manager));
    EXPECT_EQ("untouched", m_id);
    EXPECT_THAT(m_san.Calls(), SizeIs(1));
    EXPECT_THAT(LinesOf(GetParam().name), ElementsAre(GetParam().begin, GetParam().failed + "no space left"));
    ExpectNothingKept();
}

TEST_P(DeviceOperateCreationTest, CreationLetsWhatIsNoStandardExceptionPass)
{
    m_san.ThrowOther(GetParam().creation, 42);
    EXPECT_THROW(Create(m_manager), int);
    EXPECT_THAT(LinesOf(GetParam().name), ElementsAre(GetParam().begin));
    ExpectNothingKept();
}

TEST_P(DeviceOperateCreationTest, CreationThatCannotBeWrittenSucceeds)
{
    RemoveConfFolder();
    EXPECT_TRUE(Create(m_manager));
    EXPECT_THAT(LinesOf("WriteInfoToJson"), Contains("4 Config file write failed."));
    ExpectInMemory();
    EXPECT_THAT(LinesOf(GetParam().name), ElementsAre(GetParam().begin, Created(), GetParam().end));
}

TEST_P(DeviceOperateCreationTest, CreationTellsTheObjectBeforeItIsWritten)
{
    std::string text = "not told";
    m_log.Observe([&](const LogLine& line) {
        if (line.text.rfind("created ", 0) == 0) {
            text = FileText();
        }
    });
    EXPECT_TRUE(Create(m_manager));
    m_log.Observe(nullptr);
    EXPECT_EQ("", text);
}

// ---- whose host it is

class DeviceOperateOwnHostTest : public ProvisioningTest {
protected:
    bool SetHost() { return m_device.SetHostInfo(KEY, m_manager, "name", m_id); }

    std::string m_id;
};

TEST_F(DeviceOperateOwnHostTest, SetHostInfoTakesTheProtectionOfAnEarlierHostAwayBehindTheNewId)
{
    WriteRecord({{"HOSTID", "99"}, {"HOSTNAME", "found"}, {"DONOTDELETEHOST", "NOT"}, {"LUNGROUPID", "30"}});
    Record between;
    m_log.Observe([&](const LogLine& line) {
        if (line.text.rfind("The host is this node's own", 0) == 0) {
            between = FileRecord();
        }
    });
    EXPECT_TRUE(SetHost());
    m_log.Observe(nullptr);
    EXPECT_EQ((Record{{"HOSTID", "12"}, {"HOSTNAME", "name"}, {"DONOTDELETEHOST", "NOT"}, {"LUNGROUPID", "30"}}),
              between); // a crash here keeps the host
    EXPECT_EQ((Record{{"HOSTID", "12"}, {"HOSTNAME", "name"}, {"LUNGROUPID", "30"}}), FileRecord());
    EXPECT_THAT(LinesOf("SetHostInfo"), Contains("2 The host is this node's own: forget DONOTDELETEHOST:NOT"));
}

TEST_F(DeviceOperateOwnHostTest, SetHostInfoThatFailsLeavesTheProtection)
{
    const Record record = {{"HOSTID", "99"}, {"HOSTNAME", "found"}, {"DONOTDELETEHOST", "NOT"}};
    WriteRecord(record);
    m_san.Fail("create host", "no space left");
    EXPECT_FALSE(SetHost());
    EXPECT_EQ(record, FileRecord());
}

// A device whose record cannot be written for once.
class UnrecordingDevice : public DeviceOperate {
public:
    bool WriteInfoToJson(const std::string& /*key*/, std::map<std::string, std::string>& /*info*/) override
    {
        return false;
    }
};

TEST_F(DeviceOperateOwnHostTest, SetHostInfoThatIsNotRecordedLeavesTheProtectionOfTheHostThatIs)
{
    const Record record = {{"HOSTID", "99"}, {"HOSTNAME", "found"}, {"DONOTDELETEHOST", "NOT"}};
    WriteRecord(record);
    UnrecordingDevice device;
    EXPECT_TRUE(device.SetHostInfo(KEY, m_manager, "name", m_id));
    EXPECT_EQ(record, FileRecord());
}

TEST_F(DeviceOperateOwnHostTest, SetHostInfoOfARecordThatIsNoJsonSucceeds)
{
    WriteFile("{");
    EXPECT_TRUE(SetHost());
    EXPECT_EQ("{", FileText());
}

class DeviceOperateAssociationTest : public ProvisioningTest {
protected:
    std::string m_id = "untouched";
};

TEST_F(DeviceOperateAssociationTest, SetHostGroupInfoWithoutHostsMakesAnEmptyGroup)
{
    EXPECT_TRUE(m_device.SetHostGroupInfo(KEY, m_manager, "name", {}, m_id));
    EXPECT_EQ("5", m_id);
    EXPECT_THAT(m_san.Calls(), ElementsAre("create host group name"));
}

TEST_F(DeviceOperateAssociationTest, SetHostGroupInfoThatCannotAddAHostRecordsNoGroup)
{
    m_san.Fail("add host", "host is gone");
    EXPECT_FALSE(m_device.SetHostGroupInfo(KEY, m_manager, "name", {"12", "13"}, m_id));
    EXPECT_THAT(m_san.Calls(), ElementsAre("create host group name", "add host 12 to host group 5"));
    EXPECT_EQ("5", m_id);
    EXPECT_EQ("", FileText());
    EXPECT_THAT(Memory(m_device), Each(""));
    EXPECT_THAT(LinesOf("SetHostGroupInfo"),
                ElementsAre("1 begin create host group.", "2 created host group 5, name name",
                            "1 create host group failed. oLib ex:host is gone"));
}

TEST_F(DeviceOperateAssociationTest, SetMapViewInfoThatCannotAddTheHostGroupDoesNotAddTheLunGroup)
{
    m_san.Fail("add host group", "group is gone");
    EXPECT_FALSE(m_device.SetMapViewInfo(KEY, m_manager, "name", "31", "5"));
    EXPECT_THAT(m_san.Calls(), ElementsAre("create mapping view name", "add host group 5 to mapping view 7"));
    EXPECT_EQ("", FileText());
    EXPECT_THAT(LinesOf("SetMapViewInfo"), ElementsAre("1 begin create mapview.", "2 created mapping view 7, name name",
                                                       "1 create mapview failed.oLib ex:group is gone"));
}

TEST_F(DeviceOperateAssociationTest, SetMapViewInfoThatCannotAddTheLunGroupRecordsNoView)
{
    m_san.Fail("add LUN group", "group is gone");
    EXPECT_FALSE(m_device.SetMapViewInfo(KEY, m_manager, "name", "31", "5"));
    EXPECT_THAT(Memory(m_device), Each(""));
    EXPECT_EQ("", FileText());
}

TEST_F(DeviceOperateAssociationTest, LaterStepsKeepWhatEarlierOnesRecorded)
{
    std::string id;
    ASSERT_TRUE(m_device.SetHostInfo(KEY, m_manager, "name", id));
    m_san.Fail("create LUN group", "no space left");
    EXPECT_FALSE(m_device.SetLunGroupInfo(KEY, m_manager, "name", id));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("HOSTID", "12"), Pair("HOSTNAME", "name")));
}

class DeviceOperateSelfInfoTest : public ProvisioningTest {
protected:
    void Remember(Record record)
    {
        m_device.SetDeviceMessage(record);
        m_log.Clear();
    }

    std::string m_id = "untouched";
    std::string m_name = "untouched";
};

TEST_F(DeviceOperateSelfInfoTest, GetSelfLunGroupInfoAnswersFromMemory)
{
    Remember(CompleteRecord());
    EXPECT_TRUE(m_device.GetSelfLunGroupInfo({}, m_id, m_name));
    EXPECT_EQ("31", m_id);
    EXPECT_EQ("luns", m_name);
    EXPECT_THAT(m_log.Lines(), SizeIs(2));
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"),
                ElementsAre("1 begin get lun group id", "1 get lun group id finish, lun group id is:31"));
}

TEST_F(DeviceOperateSelfInfoTest, GetSelfLunGroupInfoDoesNotLookIntoTheFile)
{
    WriteRecord(CompleteRecord());
    EXPECT_FALSE(m_device.GetSelfLunGroupInfo(Session(), m_id, m_name));
    EXPECT_EQ("untouched", m_id);
    EXPECT_EQ("untouched", m_name);
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"),
                ElementsAre("1 begin get lun group id", "4 there is no have lun group id."));
}

TEST_F(DeviceOperateSelfInfoTest, GetSelfLunGroupInfoWithoutANameTellsTheIdAndFails)
{
    Remember({{"LUNGROUPID", "31"}, {"LUNGROUPNAME", ""}});
    EXPECT_FALSE(m_device.GetSelfLunGroupInfo(Session(), m_id, m_name));
    EXPECT_EQ("31", m_id);
    EXPECT_EQ("untouched", m_name);
    EXPECT_THAT(LinesOf("GetSelfLunGroupInfo"),
                ElementsAre("1 begin get lun group id", "4 there is no have lun group name."));
}

TEST_F(DeviceOperateSelfInfoTest, GetSelfMapviewInfoAnswersFromMemory)
{
    Remember(CompleteRecord());
    EXPECT_TRUE(m_device.GetSelfMapviewInfo({}, m_id, m_name));
    EXPECT_EQ("7", m_id);
    EXPECT_EQ("view", m_name);
    EXPECT_THAT(m_log.Lines(), SizeIs(2));
    EXPECT_THAT(LinesOf("GetSelfMapviewInfo"), ElementsAre("1 begin get Mapview info.", "1 get Mapview info finish."));
}

TEST_F(DeviceOperateSelfInfoTest, GetSelfMapviewInfoDoesNotLookIntoTheFile)
{
    WriteRecord(CompleteRecord());
    EXPECT_FALSE(m_device.GetSelfMapviewInfo(Session(), m_id, m_name));
    EXPECT_EQ("untouched", m_id);
    EXPECT_EQ("untouched", m_name);
    EXPECT_THAT(LinesOf("GetSelfMapviewInfo"),
                ElementsAre("1 begin get Mapview info.", "4 there is no have mapview id."));
}

TEST_F(DeviceOperateSelfInfoTest, GetSelfMapviewInfoWithoutANameTellsTheIdAndFails)
{
    Remember({{"MAPVIEWID", "7"}, {"MAPVIEWNAME", ""}});
    EXPECT_FALSE(m_device.GetSelfMapviewInfo(Session(), m_id, m_name));
    EXPECT_EQ("7", m_id);
    EXPECT_EQ("untouched", m_name);
    EXPECT_THAT(LinesOf("GetSelfMapviewInfo"),
                ElementsAre("1 begin get Mapview info.", "4 there is no have mapview name."));
}

} // namespace

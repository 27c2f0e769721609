#include "common/framework/product_messages.pb.h"
#include "device/device_operate.h"
#include "tests/support/named_row.h"
#include "tests/unit/device/device_test.h"
#include "tests/unit/device/fake_array.h"

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

TEST(DeviceMessageFieldsTest, FieldsLieInTheOrderThatOtherCodeFillsThemIn)
{
    const DeviceMessage message = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13"};
    const std::vector<std::string> fields = {message.hostGroupId,     message.hostGroupName, message.hostId,
                                             message.hostName,        message.spare1,        message.iscsiInitiatorName,
                                             message.fcInitiatorName, message.lunGroupId,    message.lunGroupName,
                                             message.mapViewId,       message.mapViewName,   message.spare2,
                                             message.doNotDeleteHost};
    EXPECT_THAT(fields, ElementsAre("1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13"));
}

class DeviceOperateMessageTest : public DeviceTest {
protected:
    DeviceOperate m_device;
};

TEST_F(DeviceOperateMessageTest, AddZavMessageOfANewDeviceTellsEmptyTexts)
{
    ZavMapInfo info;
    m_device.AddZavMessage(info, KEY);
    EXPECT_THAT(Texts(info), ElementsAre(KEY, "", "", "", "", "", "", "", ""));
    EXPECT_EQ(1, info.host_group_ids_size());
    EXPECT_EQ(1, info.map_view_names_size());
}

TEST_F(DeviceOperateMessageTest, AddZavMessageFillsTheNineListsWithOneEntryEach)
{
    Record record = CompleteRecord();
    m_device.SetDeviceMessage(record);
    ZavMapInfo info;
    info.add_device_keys("from before");
    info.add_map_view_names("from before");
    m_device.AddZavMessage(info, KEY);
    EXPECT_THAT(Texts(info), ElementsAre(KEY, "5", "hosts", "12", "host", "31", "luns", "7", "view"));
    EXPECT_THAT(LinesOf("AddZavMessage"), ElementsAre("1 Enter AddZavMessage", "1 End AddZavMessage"));
}

TEST_F(DeviceOperateMessageTest, AddZavMessageKeepsAnExceptionToItself)
{
    ZavMapInfo info;
    info.add_host_ids("from before");
    {
        const DeviceSystemCalls::FailingMapInfo failing;
        m_device.AddZavMessage(info, KEY);
    }
    EXPECT_THAT(LinesOf("AddZavMessage"),
                ElementsAre("1 Enter AddZavMessage", "4 Some exception happened when AddZavMessage!",
                            "4 The cause: std::bad_alloc", "1 End AddZavMessage"));
    EXPECT_THAT(Texts(info), ElementsAre("", "", "", "from before", "", "", "", "", ""));
}

TEST_F(DeviceOperateMessageTest, SetDeviceMessageTakesACompleteRecord)
{
    Record record = CompleteRecord();
    record["DONOTDELETEHOST"] = "NOT";
    const Record before = record;
    m_device.SetDeviceMessage(record);
    EXPECT_THAT(Memory(m_device), ElementsAre("5", "hosts", "12", "host", "31", "luns", "7", "view"));
    EXPECT_EQ(before, record);
    EXPECT_THAT(LinesOf("SetDeviceMessage"), ElementsAre("1 Enter SetDeviceMessage!", "1 End SetDeviceMessage!"));
}

TEST_F(DeviceOperateMessageTest, SetDeviceMessageOfAnEmptyRecordTellsEachPairAndAddsTheInitiatorNames)
{
    Record record;
    m_device.SetDeviceMessage(record);
    EXPECT_THAT(record, ElementsAre(Pair("FCINITIATORNAME", ""), Pair("ISCSIINITIATORNAME", "")));
    EXPECT_THAT(Memory(m_device), Each(""));
    EXPECT_THAT(LinesOf("SetDeviceMessage"),
                ElementsAre("1 Enter SetDeviceMessage!", "4 The device need to init, hostID is nil!",
                            "4 The device need to init, hostGroupID is nil!",
                            "4 The device need to init, lunGroupID is nil!",
                            "4 The device need to init, mapViewID is nil!", "1 End SetDeviceMessage!"));
}

struct PairRow : NamedRow {
    std::string missing;
    std::string line;
    std::vector<std::string> memory;
};

class DeviceOperateMessagePairTest : public DeviceOperateMessageTest, public ::testing::WithParamInterface<PairRow> {};

TEST_P(DeviceOperateMessagePairTest, SetDeviceMessageLeavesAPairOfWhichOneIsMissing)
{
    Record old = CompleteRecord();
    m_device.SetDeviceMessage(old);
    m_log.Clear();
    Record record = {{"HOSTID", "ID1"},          {"HOSTNAME", "name1"},   {"HOSTGROUPID", "ID2"},
                     {"HOSTGROUPNAME", "name2"}, {"LUNGROUPID", "ID3"},   {"LUNGROUPNAME", "name3"},
                     {"MAPVIEWID", "ID4"},       {"MAPVIEWNAME", "name4"}};
    record.erase(GetParam().missing);
    m_device.SetDeviceMessage(record);
    EXPECT_EQ(GetParam().memory, Memory(m_device));
    EXPECT_THAT(LinesOf("SetDeviceMessage"),
                ElementsAre("1 Enter SetDeviceMessage!", GetParam().line, "1 End SetDeviceMessage!"));
    EXPECT_THAT(record, Contains(Pair("FCINITIATORNAME", "")));
    EXPECT_THAT(record, Contains(Pair("ISCSIINITIATORNAME", "")));
}

using Texts = std::vector<std::string>;
const Texts OLD_HOST_GROUP = {"5", "hosts", "ID1", "name1", "ID3", "name3", "ID4", "name4"};
const Texts OLD_HOST = {"ID2", "name2", "12", "host", "ID3", "name3", "ID4", "name4"};
const Texts OLD_LUN_GROUP = {"ID2", "name2", "ID1", "name1", "31", "luns", "ID4", "name4"};
const Texts OLD_MAP_VIEW = {"ID2", "name2", "ID1", "name1", "ID3", "name3", "7", "view"};

INSTANTIATE_TEST_SUITE_P(
    Keys, DeviceOperateMessagePairTest,
    ::testing::Values(
        PairRow{{"HostId"}, "HOSTID", "4 The device need to init, hostID is nil!", OLD_HOST},
        PairRow{{"HostName"}, "HOSTNAME", "4 The device need to init, hostID is nil!", OLD_HOST},
        PairRow{{"HostGroupId"}, "HOSTGROUPID", "4 The device need to init, hostGroupID is nil!", OLD_HOST_GROUP},
        PairRow{{"HostGroupName"}, "HOSTGROUPNAME", "4 The device need to init, hostGroupID is nil!", OLD_HOST_GROUP},
        PairRow{{"LunGroupId"}, "LUNGROUPID", "4 The device need to init, lunGroupID is nil!", OLD_LUN_GROUP},
        PairRow{{"LunGroupName"}, "LUNGROUPNAME", "4 The device need to init, lunGroupID is nil!", OLD_LUN_GROUP},
        PairRow{{"MapViewId"}, "MAPVIEWID", "4 The device need to init, mapViewID is nil!", OLD_MAP_VIEW},
        PairRow{{"MapViewName"}, "MAPVIEWNAME", "4 The device need to init, mapViewID is nil!", OLD_MAP_VIEW}),
    RowName<PairRow>);

class DeviceOperateExistingHostTest : public DeviceOperateMessageTest {
protected:
    const boost::shared_ptr<FakeArray> m_array = boost::make_shared<FakeArray>();
    std::string m_hostName = "generated";
};

TEST_F(DeviceOperateExistingHostTest, UpdateConfigFileRecordsTheHostUnderTheArraysName)
{
    m_device.UpdateConfigFile(KEY, m_array, "99", m_hostName);
    EXPECT_THAT(m_array->Calls(), ElementsAre("GetHostName 99"));
    EXPECT_EQ("host of the array", m_hostName);
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("DONOTDELETEHOST", "NOT"), Pair("HOSTID", "99"),
                                          Pair("HOSTNAME", "host of the array")));
    EXPECT_THAT(Memory(m_device), ElementsAre("", "", "99", "host of the array", "", "", "", ""));
    EXPECT_THAT(LinesOf("UpdateConfigFile"),
                ElementsAre("1 Enter UpdateConfigFile",
                            "1 Host Already Exist, No Need To Create. ID: 99 Name: host of the array",
                            "1 End UpdateConfigFile"));
}

TEST_F(DeviceOperateExistingHostTest, UpdateConfigFileOfAHostWithoutANameGoesOnWithTheGivenOne)
{
    m_array->Answer("GetHostName", 50331651);
    m_device.UpdateConfigFile(KEY, m_array, "99", m_hostName);
    EXPECT_EQ("generated", m_hostName);
    EXPECT_THAT(FileRecord(),
                ElementsAre(Pair("DONOTDELETEHOST", "NOT"), Pair("HOSTID", "99"), Pair("HOSTNAME", "generated")));
    EXPECT_THAT(Memory(m_device), ElementsAre("", "", "99", "generated", "", "", "", ""));
    EXPECT_THAT(LinesOf("UpdateConfigFile"),
                ElementsAre("1 Enter UpdateConfigFile", "1 Not Found Host. ID: 99",
                            "1 Host Already Exist, No Need To Create. ID: 99 Name: generated",
                            "1 End UpdateConfigFile"));
}

TEST_F(DeviceOperateExistingHostTest, UpdateConfigFileKeepsTheNameThatItKnowsOfTheHostWhenTheArrayDoesNotTellIt)
{
    Record record = {{"HOSTID", "99"}, {"HOSTNAME", "host of the array"}};
    m_device.SetDeviceMessage(record);
    m_array->Answer("GetHostName", -20000);
    m_device.UpdateConfigFile(KEY, m_array, "99", m_hostName);
    EXPECT_EQ("host of the array", m_hostName);
    EXPECT_THAT(FileRecord(), Contains(Pair("HOSTNAME", "host of the array")));
    EXPECT_THAT(Memory(m_device), ElementsAre("", "", "99", "host of the array", "", "", "", ""));
}

TEST_F(DeviceOperateExistingHostTest, UpdateConfigFileGivesNoHostTheNameOfAnother)
{
    Record record = {{"HOSTID", "9"}, {"HOSTNAME", "another"}};
    m_device.SetDeviceMessage(record);
    m_array->Answer("GetHostName", -20000);
    m_device.UpdateConfigFile(KEY, m_array, "99", m_hostName);
    EXPECT_EQ("generated", m_hostName);
}

TEST_F(DeviceOperateExistingHostTest, UpdateConfigFileRemembersTheHostEvenWhenItCannotBeWritten)
{
    RemoveConfFolder();
    m_device.UpdateConfigFile(KEY, m_array, "99", m_hostName);
    EXPECT_THAT(LinesOf("WriteInfoToJson"), Contains("4 Config file write failed."));
    EXPECT_THAT(Memory(m_device), ElementsAre("", "", "99", "host of the array", "", "", "", ""));
    EXPECT_THAT(LinesOf("UpdateConfigFile"),
                Contains("1 Host Already Exist, No Need To Create. ID: 99 Name: host of the array"));
}

class LockedOutDevice : public DeviceOperate {
public:
    bool WriteInfoToJson(const std::string& /*key*/, std::map<std::string, std::string>& /*info*/) override
    {
        throw boost::lock_error();
    }
};

TEST_F(DeviceOperateExistingHostTest, UpdateConfigFileRemembersNoHostWhenTheRecordIsLockedOut)
{
    LockedOutDevice device;
    EXPECT_THROW(device.UpdateConfigFile(KEY, m_array, "99", m_hostName), boost::lock_error);
    EXPECT_THAT(Memory(device), Each(""));
}

struct UrlRow : NamedRow {
    std::string address;
    std::string formatted;
};

class DeviceOperateUrlTest : public ::testing::TestWithParam<UrlRow> {};

TEST_P(DeviceOperateUrlTest, FormatUrlBracketsWhatStandsBeforeTheLastOfSeveralColons)
{
    EXPECT_EQ(GetParam().formatted, DeviceOperate().FormatUrl(GetParam().address));
}

INSTANTIATE_TEST_SUITE_P(Addresses, DeviceOperateUrlTest,
                         ::testing::Values(UrlRow{{"Empty"}, "", ""}, UrlRow{{"Ipv4"}, "10.0.0.1", "10.0.0.1"},
                                           UrlRow{{"Ipv4AndPort"}, "10.0.0.1:3260", "10.0.0.1:3260"},
                                           UrlRow{{"HostName"}, "array:3260", "array:3260"},
                                           UrlRow{{"Ipv6AndPort"}, "fe80::1:3260", "[fe80::1]:3260"},
                                           UrlRow{{"Ipv6WithoutPort"}, "fe80::1", "[fe80:]:1"},
                                           UrlRow{{"TwoColons"}, "a:b:c", "[a:b]:c"},
                                           UrlRow{{"ColonsOnly"}, "::", "[:]:"}),
                         RowName<UrlRow>);

struct ContainRow : NamedRow {
    std::string text;
    std::vector<std::string> list;
    int result;
};

class CheckContainTest : public ::testing::TestWithParam<ContainRow> {};

TEST_P(CheckContainTest, CheckContainFindsWholeElementsOnly)
{
    std::vector<std::string> list = GetParam().list;
    EXPECT_EQ(GetParam().result, CheckContain(GetParam().text, list));
    EXPECT_EQ(GetParam().list, list);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, CheckContainTest,
    ::testing::Values(ContainRow{{"Last"}, "a", {"b", "a"}, 1}, ContainRow{{"First"}, "b", {"b", "a"}, 1},
                      ContainRow{{"Prefix"}, "a", {"ab"}, 0}, ContainRow{{"Longer"}, "ab", {"a"}, 0},
                      ContainRow{{"OtherCase"}, "a", {"A"}, 0}, ContainRow{{"EmptyList"}, "a", {}, 0},
                      ContainRow{{"EmptyText"}, "", {"a", ""}, 1},
                      ContainRow{{"ZeroByte"}, std::string("a\0b", 3), {"a"}, 0}),
    RowName<ContainRow>);

} // namespace

#include "common/device_keys.h"
#include "tests/unit/named_row.h"

namespace {

struct WordRow : NamedRow {
    const std::string& word;
    const char* text;
};

class DeviceKeysTextTest : public ::testing::TestWithParam<WordRow> {};

// Files written by earlier releases bear these texts, and so do texts that other code of the product reads.
TEST_P(DeviceKeysTextTest, WordIsSpeltAsInRecordsOnDisk)
{
    EXPECT_EQ(GetParam().text, GetParam().word);
}

INSTANTIATE_TEST_SUITE_P(
    Words, DeviceKeysTextTest,
    ::testing::Values(
        WordRow{{"IscsiInitiatorName"}, DeviceKey::ISCSI_INITIATOR_NAME, "ISCSIINITIATORNAME"},
        WordRow{{"FcInitiatorName"}, DeviceKey::FC_INITIATOR_NAME, "FCINITIATORNAME"},
        WordRow{{"LunGroupId"}, DeviceKey::LUN_GROUP_ID, "LUNGROUPID"},
        WordRow{{"LunGroupName"}, DeviceKey::LUN_GROUP_NAME, "LUNGROUPNAME"},
        WordRow{{"HostId"}, DeviceKey::HOST_ID, "HOSTID"}, WordRow{{"HostName"}, DeviceKey::HOST_NAME, "HOSTNAME"},
        WordRow{{"HostGroupId"}, DeviceKey::HOST_GROUP_ID, "HOSTGROUPID"},
        WordRow{{"HostGroupName"}, DeviceKey::HOST_GROUP_NAME, "HOSTGROUPNAME"},
        WordRow{{"MapViewId"}, DeviceKey::MAP_VIEW_ID, "MAPVIEWID"},
        WordRow{{"MapViewName"}, DeviceKey::MAP_VIEW_NAME, "MAPVIEWNAME"},
        WordRow{{"DoNotDeleteHost"}, DeviceKey::DO_NOT_DELETE_HOST, "DONOTDELETEHOST"},
        WordRow{{"Iqn"}, DeviceKey::IQN, "IQN"}, WordRow{{"ProtocolType"}, DeviceKey::PROTOCOL_TYPE, "PROTOCOLTYPE"},
        WordRow{{"DeviceInfo"}, DeviceKey::DEVICE_INFO, "DeviceInfo"},
        WordRow{{"LocalSessionUserName"}, DeviceKey::LOCAL_SESSION_USER_NAME, "LOCALSESSIONUSERNAME"},
        WordRow{{"LocalSessionPwd"}, DeviceKey::LOCAL_SESSION_PWD, "LOCALSESSIONPWD"},
        WordRow{{"ConfigWriter"}, DeviceKey::CONFIG_WRITER, "ConfigWriter"},
        WordRow{{"PropertyNotExist"}, DeviceKey::PROPERTY_NOT_EXIST, "Error:THE_PROPERTY_NOT_EXIST"},
        WordRow{{"DeleteHost"}, DeviceWord::DELETE_HOST, "DELETE"}, WordRow{{"Not"}, DeviceWord::NOT, "NOT"},
        WordRow{{"Iscsi"}, DeviceWord::ISCSI, "iscsi"}, WordRow{{"Fc"}, DeviceWord::FC, "fc"}),
    RowName<WordRow>);

} // namespace

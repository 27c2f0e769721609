#include "common/device_keys.h"

#include <gtest/gtest.h>

namespace {

struct KeyRow {
    const std::string& key;
    const char* text;
};

class DeviceKeyTest : public ::testing::TestWithParam<KeyRow> {};

TEST_P(DeviceKeyTest, KeyHasTheTextOfTheDeviceInformationFile)
{
    EXPECT_EQ(GetParam().text, GetParam().key);
}

using namespace DeviceKey;

INSTANTIATE_TEST_SUITE_P(
    Key, DeviceKeyTest,
    ::testing::Values(KeyRow{ISCSI_INITIATOR_NAME, "ISCSIINITIATORNAME"}, KeyRow{FC_INITIATOR_NAME, "FCINITIATORNAME"},
                      KeyRow{LUN_GROUP_ID, "LUNGROUPID"}, KeyRow{LUN_GROUP_NAME, "LUNGROUPNAME"},
                      KeyRow{HOST_ID, "HOSTID"}, KeyRow{HOST_NAME, "HOSTNAME"}, KeyRow{HOST_GROUP_ID, "HOSTGROUPID"},
                      KeyRow{HOST_GROUP_NAME, "HOSTGROUPNAME"}, KeyRow{MAP_VIEW_ID, "MAPVIEWID"},
                      KeyRow{MAP_VIEW_NAME, "MAPVIEWNAME"}, KeyRow{DO_NOT_DELETE_HOST, "DONOTDELETEHOST"},
                      KeyRow{IQN, "IQN"}, KeyRow{PROTOCOL_TYPE, "PROTOCOLTYPE"}, KeyRow{DEVICE_INFO, "DeviceInfo"},
                      KeyRow{LOCAL_SESSION_USER_NAME, "LOCALSESSIONUSERNAME"},
                      KeyRow{LOCAL_SESSION_PWD, "LOCALSESSIONPWD"}, KeyRow{CONFIG_WRITER, "ConfigWriter"}),
    [](const auto& row) { return std::string(row.param.text); });

INSTANTIATE_TEST_SUITE_P(Word, DeviceKeyTest,
                         ::testing::Values(KeyRow{DeviceWord::DELETE_HOST, "DELETE"}, KeyRow{DeviceWord::NOT, "NOT"},
                                           KeyRow{DeviceWord::ISCSI, "iscsi"}, KeyRow{DeviceWord::FC, "fc"}),
                         [](const auto& row) { return std::string(row.param.text); });

TEST(DeviceKeyTextTest, MissingPropertyHasItsText)
{
    EXPECT_EQ("Error:THE_PROPERTY_NOT_EXIST", PROPERTY_NOT_EXIST);
}

} // namespace

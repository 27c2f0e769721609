#include "device/delete_resource.h"
#include "device/device_operate.h"
#include "device/device_set_operator.h"
#include "tests/support/named_row.h"
#include "tests/unit/virtual_slot.h"

#include <type_traits>

// Programs that were built against earlier releases call the classes by their slots.

namespace {

struct SlotRow : NamedRow {
    std::ptrdiff_t slot;
    std::ptrdiff_t expected;
};

class VirtualSlotsTest : public ::testing::TestWithParam<SlotRow> {};

TEST_P(VirtualSlotsTest, OperationLiesInItsSlot)
{
    EXPECT_EQ(GetParam().expected, GetParam().slot);
}

template <typename... Members>
std::vector<SlotRow> Rows(std::ptrdiff_t first, const std::vector<std::string>& names, Members... members)
{
    std::vector<SlotRow> rows;
    for (const std::ptrdiff_t slot : {SlotOf(members)...}) {
        rows.push_back({{names.at(rows.size())}, slot, first + static_cast<std::ptrdiff_t>(rows.size())});
    }
    return rows;
}

constexpr std::ptrdiff_t BEHIND_THE_DESTRUCTOR = 2; // which takes two slots

INSTANTIATE_TEST_SUITE_P(
    DeviceOperate, VirtualSlotsTest,
    ::testing::ValuesIn(Rows(
        BEHIND_THE_DESTRUCTOR,
        {"ReadDeviceInfo",       "GetSelfMapviewInfo",  "GetSelfLunGroupInfo", "GetFCInitor",    "GetLoginTargetIP",
         "ReadInfoFromJson",     "GetRandStr",          "SetHostInfo",         "CheckInitSub",   "CheckInit",
         "GetDeviceInfoCfgFile", "ReadConfig",          "LoginIscsiTarget",    "GetIscsiInitor", "SetIscsiInitorInfo",
         "SetLunGroupInfo",      "GetHandler",          "WriteInfoToJson",     "SetMapViewInfo", "SetInitiatorInfo",
         "SetFCInitorInfo",      "CreateFCInitorOnDev", "SetHostGroupInfo",    "AddZavMessage"},
        &DeviceOperate::ReadDeviceInfo, &DeviceOperate::GetSelfMapviewInfo, &DeviceOperate::GetSelfLunGroupInfo,
        &DeviceOperate::GetFCInitor, &DeviceOperate::GetLoginTargetIP, &DeviceOperate::ReadInfoFromJson,
        &DeviceOperate::GetRandStr, &DeviceOperate::SetHostInfo, &DeviceOperate::CheckInitSub,
        &DeviceOperate::CheckInit, &DeviceOperate::GetDeviceInfoCfgFile, &DeviceOperate::ReadConfig,
        &DeviceOperate::LoginIscsiTarget, &DeviceOperate::GetIscsiInitor, &DeviceOperate::SetIscsiInitorInfo,
        &DeviceOperate::SetLunGroupInfo, &DeviceOperate::GetHandler, &DeviceOperate::WriteInfoToJson,
        &DeviceOperate::SetMapViewInfo, &DeviceOperate::SetInitiatorInfo, &DeviceOperate::SetFCInitorInfo,
        &DeviceOperate::CreateFCInitorOnDev, &DeviceOperate::SetHostGroupInfo, &DeviceOperate::AddZavMessage)),
    RowName<SlotRow>);

INSTANTIATE_TEST_SUITE_P(
    DeviceSetOperator, VirtualSlotsTest,
    ::testing::ValuesIn(Rows(0,
                             {"GetSelfLunGroupInfo", "InitDeviceSet", "ReadInfoFromJson", "PrepareAndCheckInit",
                              "GetMapDeviceOperate", "RemoveDeviceFromMap", "ReadConfig", "ExtractAddressInfo",
                              "InitDeviceManager"},
                             &DeviceSetOperator::GetSelfLunGroupInfo, &DeviceSetOperator::InitDeviceSet,
                             &DeviceSetOperator::ReadInfoFromJson, &DeviceSetOperator::PrepareAndCheckInit,
                             &DeviceSetOperator::GetMapDeviceOperate, &DeviceSetOperator::RemoveDeviceFromMap,
                             &DeviceSetOperator::ReadConfig, &DeviceSetOperator::ExtractAddressInfo,
                             &DeviceSetOperator::InitDeviceManager)),
    RowName<SlotRow>);

INSTANTIATE_TEST_SUITE_P(
    DeleteResource, VirtualSlotsTest,
    ::testing::ValuesIn(Rows(0,
                             {"DeleteCreatedResource", "DeleteHost", "CheckAndDeleteMapView", "CheckAndDeleteHostGroup",
                              "CheckAndDeleteHost", "CheckAndDeleteLunGroup", "GetLunIdByLunGroup",
                              "RemoveLunFromLunGroup", "GetSnapshotIdByLunGroup", "RemoveSnapshotFromLunGroup"},
                             &DeleteResource::DeleteCreatedResource, &DeleteResource::DeleteHost,
                             &DeleteResource::CheckAndDeleteMapView, &DeleteResource::CheckAndDeleteHostGroup,
                             &DeleteResource::CheckAndDeleteHost, &DeleteResource::CheckAndDeleteLunGroup,
                             &DeleteResource::GetLunIdByLunGroup, &DeleteResource::RemoveLunFromLunGroup,
                             &DeleteResource::GetSnapshotIdByLunGroup, &DeleteResource::RemoveSnapshotFromLunGroup)),
    RowName<SlotRow>);

TEST(VirtualDestructorTest, EveryClassCanBeDeletedThroughItsBase)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<DeviceOperate>);
    EXPECT_TRUE(std::has_virtual_destructor_v<DeviceSetOperator>);
    EXPECT_TRUE(std::has_virtual_destructor_v<DeleteResource>);
}

} // namespace

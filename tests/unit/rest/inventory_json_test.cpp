#include "rest/inventory_json.h"

#include "tests/unit/rest/json_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

const char* const POOL = R"({"ID": "1", "NAME": "n", "DESCRIPTION": "d", "USERTOTALCAPACITY": "4",
    "USERFREECAPACITY": "3", "USERCONSUMEDCAPACITY": "1", "HEALTHSTATUS": "2", "USAGETYPE": "u"})";
const char* const LUN = R"({"ID": "1", "NAME": "n", "WWN": "w", "CAPACITY": "4", "HEALTHSTATUS": "2",
    "PARENTID": "3", "ALLOCTYPE": "5"})";

class InventoryJsonRecordTest : public ::testing::Test {};

TEST_F(InventoryJsonRecordTest, NewRecordsAreHealthyAndOtherwiseEmpty)
{
    const Zav::StoragePool pool;
    EXPECT_EQ(1U, pool.healthStatus);
    EXPECT_EQ(0U, pool.id + pool.totalCapacity + pool.freeCapacity + pool.consumedCapacity);
    EXPECT_EQ("", pool.name + pool.description + pool.usageType);
    const Zav::LunInfo lun;
    EXPECT_EQ(1U, lun.healthStatus);
    EXPECT_EQ(0U, lun.id + lun.capacity + lun.parentId + lun.allocationType);
    EXPECT_EQ("", lun.name + lun.wwn);
}

TEST_F(InventoryJsonRecordTest, ASectorHas512BytesUnlessTheElementTells)
{
    Json::Value pool = FromText(POOL);
    EXPECT_EQ(2048U, InventoryJson::DecodeStoragePool(pool).totalCapacity);
    pool["SECTORSIZE"] = "1";
    EXPECT_EQ(4U, InventoryJson::DecodeStoragePool(pool).totalCapacity);
    EXPECT_EQ(3U, InventoryJson::DecodeStoragePool(pool).freeCapacity);
    EXPECT_EQ(1U, InventoryJson::DecodeStoragePool(pool).consumedCapacity);
    Json::Value lun = FromText(LUN);
    EXPECT_EQ(2048U, InventoryJson::DecodeLun(lun).capacity);
    lun["SECTORSIZE"] = "0";
    EXPECT_EQ(0U, InventoryJson::DecodeLun(lun).capacity);
}

TEST_F(InventoryJsonRecordTest, TheSectorSizeIsReadFirstWhenItIsThere)
{
    Json::Value element(Json::objectValue);
    EXPECT_EQ("ID is not a number: \"\"", ErrorOf([&element] { InventoryJson::DecodeStoragePool(element); }));
    element["SECTORSIZE"] = "";
    EXPECT_EQ("SECTORSIZE is not a number: \"\"", ErrorOf([&element] { InventoryJson::DecodeStoragePool(element); }));
    EXPECT_EQ("SECTORSIZE is not a number: \"\"", ErrorOf([&element] { InventoryJson::DecodeLun(element); }));
}

struct Member {
    const char* name;
    bool isNumber;
};

void PrintTo(const Member& member, std::ostream* out)
{
    *out << member.name;
}

class InventoryJsonPoolMemberTest : public ::testing::TestWithParam<Member> {};
class InventoryJsonLunMemberTest : public ::testing::TestWithParam<Member> {};

template <typename Decode>
void ExpectNeeded(const Member& member, Json::Value element, const Decode& decode)
{
    const std::string name = member.name;
    const auto attempt = [&decode, &element] { decode(element); };
    element[name] = Json::Value(Json::objectValue);
    EXPECT_EQ(name + " is not a text", ErrorOf(attempt));
    element.removeMember(name);
    EXPECT_EQ(member.isNumber ? name + " is not a number: \"\"" : "", ErrorOf(attempt));
    element[name] = Json::Value();
    EXPECT_EQ(member.isNumber ? name + " is not a number: \"\"" : "", ErrorOf(attempt));
    element[name] = " 1";
    EXPECT_EQ(member.isNumber ? name + " is not a number: \" 1\"" : "", ErrorOf(attempt));
    element[name] = 1;
    EXPECT_EQ("", ErrorOf(attempt));
    element[name] = "+1";
    EXPECT_EQ("", ErrorOf(attempt));
    element[name] = "-1"; // counts backwards from the width, as the conversion has it
    EXPECT_EQ("", ErrorOf(attempt));
}

TEST_P(InventoryJsonPoolMemberTest, OnlyNumbersAreNeeded)
{
    ExpectNeeded(GetParam(), FromText(POOL), InventoryJson::DecodeStoragePool);
}

TEST_P(InventoryJsonLunMemberTest, OnlyNumbersAreNeeded)
{
    ExpectNeeded(GetParam(), FromText(LUN), InventoryJson::DecodeLun);
}

INSTANTIATE_TEST_SUITE_P(Each, InventoryJsonPoolMemberTest,
                         ::testing::Values(Member{"ID", true}, Member{"NAME", false}, Member{"DESCRIPTION", false},
                                           Member{"USERTOTALCAPACITY", true}, Member{"USERFREECAPACITY", true},
                                           Member{"USERCONSUMEDCAPACITY", true}, Member{"HEALTHSTATUS", true},
                                           Member{"USAGETYPE", false}),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Each, InventoryJsonLunMemberTest,
                         ::testing::Values(Member{"ID", true}, Member{"NAME", false}, Member{"WWN", false},
                                           Member{"CAPACITY", true}, Member{"HEALTHSTATUS", true},
                                           Member{"PARENTID", true}, Member{"ALLOCTYPE", true}),
                         [](const auto& row) { return row.param.name; });

TEST_F(InventoryJsonRecordTest, NumbersHaveTheWidthOfTheirMember)
{
    Json::Value lun = FromText(LUN);
    lun["ID"] = "18446744073709551615";
    lun["HEALTHSTATUS"] = "4294967295";
    EXPECT_EQ(18446744073709551615U, InventoryJson::DecodeLun(lun).id);
    EXPECT_EQ(4294967295U, InventoryJson::DecodeLun(lun).healthStatus);
    lun["ALLOCTYPE"] = "4294967296";
    EXPECT_EQ("ALLOCTYPE is not a number: \"4294967296\"", ErrorOf([&lun] { InventoryJson::DecodeLun(lun); }));
    lun["ID"] = "-1";
    lun["ALLOCTYPE"] = "-1";
    EXPECT_EQ(18446744073709551615U, InventoryJson::DecodeLun(lun).id);
    EXPECT_EQ(4294967295U, InventoryJson::DecodeLun(lun).allocationType);
}

TEST_F(InventoryJsonRecordTest, MembersAreFoundAmongOthers)
{
    Json::Value lun = FromText(LUN);
    for (const char* const other :
         {"", "A", "CAPACIT", "CAPACITY2", "I", "ID ", "PARENTNAME", "SUBTYPE", "WW", "WWN2", "a", "~"}) {
        lun[other] = "9";
        EXPECT_EQ(1U, InventoryJson::DecodeLun(lun).id) << other;
        EXPECT_EQ("n", InventoryJson::DecodeLun(lun).name) << other;
        EXPECT_EQ("w", InventoryJson::DecodeLun(lun).wwn) << other;
        EXPECT_EQ(2048U, InventoryJson::DecodeLun(lun).capacity) << other;
        EXPECT_EQ(2U, InventoryJson::DecodeLun(lun).healthStatus) << other;
        EXPECT_EQ(3U, InventoryJson::DecodeLun(lun).parentId) << other;
        EXPECT_EQ(5U, InventoryJson::DecodeLun(lun).allocationType) << other;
    }
}

TEST_F(InventoryJsonRecordTest, TheFirstMemberThatIsWrongIsNamed)
{
    Json::Value lun = FromText(LUN);
    for (const char* const member : {"ALLOCTYPE", "PARENTID", "HEALTHSTATUS", "CAPACITY", "ID", "SECTORSIZE"}) {
        lun[member] = "x";
        EXPECT_EQ(std::string(member) + " is not a number: \"x\"", ErrorOf([&lun] { InventoryJson::DecodeLun(lun); }));
    }
}

TEST_F(InventoryJsonRecordTest, AnElementThatIsNoObjectIsAnErrorThatSaysSo)
{
    const std::string text = "element is not an object, looking for ID";
    EXPECT_EQ(text, ErrorOf([] { InventoryJson::DecodeStoragePool("1"); }));
    EXPECT_EQ(text, ErrorOf([] { InventoryJson::DecodeLun(Json::Value()); }));
}

} // namespace

#include "rest/zav_json.h"

#include "common/json_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

Json::Value FromText(const std::string& text)
{
    Json::Value value;
    EXPECT_TRUE(JsonText::Parse(text, value)) << text;
    return value;
}

/// The text of the exception that `action` throws; empty when it throws none.
template <typename Action>
std::string ErrorOf(const Action& action)
{
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

const char* const POOL = R"({"ID": "1", "NAME": "n", "DESCRIPTION": "d", "USERTOTALCAPACITY": "4",
    "USERFREECAPACITY": "3", "USERCONSUMEDCAPACITY": "1", "HEALTHSTATUS": "2", "USAGETYPE": "u"})";
const char* const LUN = R"({"ID": "1", "NAME": "n", "WWN": "w", "CAPACITY": "4", "HEALTHSTATUS": "2",
    "PARENTID": "3", "ALLOCTYPE": "5"})";

class ZavJsonRecordTest : public ::testing::Test {};

TEST_F(ZavJsonRecordTest, NewRecordsAreHealthyAndOtherwiseEmpty)
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

TEST_F(ZavJsonRecordTest, ASectorHas512BytesUnlessTheElementTells)
{
    Json::Value pool = FromText(POOL);
    EXPECT_EQ(2048U, ZavJson::DecodeStoragePool(pool).totalCapacity);
    pool["SECTORSIZE"] = "1";
    EXPECT_EQ(4U, ZavJson::DecodeStoragePool(pool).totalCapacity);
    EXPECT_EQ(3U, ZavJson::DecodeStoragePool(pool).freeCapacity);
    EXPECT_EQ(1U, ZavJson::DecodeStoragePool(pool).consumedCapacity);
    Json::Value lun = FromText(LUN);
    EXPECT_EQ(2048U, ZavJson::DecodeLun(lun).capacity);
    lun["SECTORSIZE"] = "0";
    EXPECT_EQ(0U, ZavJson::DecodeLun(lun).capacity);
}

TEST_F(ZavJsonRecordTest, TheSectorSizeIsReadFirstWhenItIsThere)
{
    Json::Value element(Json::objectValue);
    EXPECT_EQ("ID is not a number: \"\"", ErrorOf([&element] { ZavJson::DecodeStoragePool(element); }));
    element["SECTORSIZE"] = "";
    EXPECT_EQ("SECTORSIZE is not a number: \"\"", ErrorOf([&element] { ZavJson::DecodeStoragePool(element); }));
    EXPECT_EQ("SECTORSIZE is not a number: \"\"", ErrorOf([&element] { ZavJson::DecodeLun(element); }));
}

struct Member {
    const char* name;
    bool isNumber;
};

void PrintTo(const Member& member, std::ostream* out)
{
    *out << member.name;
}

class ZavJsonPoolMemberTest : public ::testing::TestWithParam<Member> {};
class ZavJsonLunMemberTest : public ::testing::TestWithParam<Member> {};

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

TEST_P(ZavJsonPoolMemberTest, OnlyNumbersAreNeeded)
{
    ExpectNeeded(GetParam(), FromText(POOL), ZavJson::DecodeStoragePool);
}

TEST_P(ZavJsonLunMemberTest, OnlyNumbersAreNeeded)
{
    ExpectNeeded(GetParam(), FromText(LUN), ZavJson::DecodeLun);
}

INSTANTIATE_TEST_SUITE_P(Each, ZavJsonPoolMemberTest,
                         ::testing::Values(Member{"ID", true}, Member{"NAME", false}, Member{"DESCRIPTION", false},
                                           Member{"USERTOTALCAPACITY", true}, Member{"USERFREECAPACITY", true},
                                           Member{"USERCONSUMEDCAPACITY", true}, Member{"HEALTHSTATUS", true},
                                           Member{"USAGETYPE", false}),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(Each, ZavJsonLunMemberTest,
                         ::testing::Values(Member{"ID", true}, Member{"NAME", false}, Member{"WWN", false},
                                           Member{"CAPACITY", true}, Member{"HEALTHSTATUS", true},
                                           Member{"PARENTID", true}, Member{"ALLOCTYPE", true}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ZavJsonRecordTest, NumbersHaveTheWidthOfTheirMember)
{
    Json::Value lun = FromText(LUN);
    lun["ID"] = "18446744073709551615";
    lun["HEALTHSTATUS"] = "4294967295";
    EXPECT_EQ(18446744073709551615U, ZavJson::DecodeLun(lun).id);
    EXPECT_EQ(4294967295U, ZavJson::DecodeLun(lun).healthStatus);
    lun["ALLOCTYPE"] = "4294967296";
    EXPECT_EQ("ALLOCTYPE is not a number: \"4294967296\"", ErrorOf([&lun] { ZavJson::DecodeLun(lun); }));
    lun["ID"] = "-1";
    lun["ALLOCTYPE"] = "-1";
    EXPECT_EQ(18446744073709551615U, ZavJson::DecodeLun(lun).id);
    EXPECT_EQ(4294967295U, ZavJson::DecodeLun(lun).allocationType);
}

TEST_F(ZavJsonRecordTest, AnElementThatIsNoObjectIsAnErrorThatSaysSo)
{
    const std::string text = "element is not an object, looking for ID";
    EXPECT_EQ(text, ErrorOf([] { ZavJson::DecodeStoragePool("1"); }));
    EXPECT_EQ(text, ErrorOf([] { ZavJson::DecodeLun(Json::Value()); }));
    EXPECT_EQ(text, ErrorOf([] { ZavJson::MemberText(Json::Value(Json::arrayValue), "ID"); }));
}

class ZavJsonTextTest : public ::testing::Test {
protected:
    ZavJson::Finding Find(const std::string& json)
    {
        m_text = "before";
        return ZavJson::FindOptionalText(FromText(json), "A", m_text);
    }

    std::string m_text;
};

TEST_F(ZavJsonTextTest, FindOptionalTextTellsFoundFromAbsentFromMalformed)
{
    EXPECT_EQ(ZavJson::Finding::Found, Find(R"({"A": "x"})"));
    EXPECT_EQ("x", m_text);
    EXPECT_EQ(ZavJson::Finding::Found, Find(R"({"A": null})"));
    EXPECT_EQ("", m_text);
    for (const char* const absent : {"null", "{}", R"({"a": "x"})"}) {
        EXPECT_EQ(ZavJson::Finding::Absent, Find(absent)) << absent;
        EXPECT_EQ("before", m_text);
    }
    for (const char* const malformed : {R"({"A": {}})", R"({"A": []})", "[]", R"("A")", "1", "false"}) {
        EXPECT_EQ(ZavJson::Finding::Malformed, Find(malformed)) << malformed;
        EXPECT_EQ("before", m_text);
    }
}

TEST_F(ZavJsonTextTest, FindTextNeedsAnObjectWithAText)
{
    std::string text = "before";
    for (const char* const json : {"{}", "[]", "null", R"("A")", R"({"A": {}})"}) {
        EXPECT_FALSE(ZavJson::FindText(FromText(json), "A", text)) << json;
        EXPECT_EQ("before", text);
    }
    EXPECT_TRUE(ZavJson::FindText(FromText(R"({"A": 5})"), "A", text));
    EXPECT_EQ("5", text);
}

TEST_F(ZavJsonTextTest, MemberTextOfAnAbsentMemberIsEmpty)
{
    EXPECT_EQ("", ZavJson::MemberText(FromText("{}"), "A"));
    EXPECT_EQ("x", ZavJson::MemberText(FromText(R"({"A": "x"})"), "A"));
}

TEST_F(ZavJsonTextTest, AppendTextAppendsOnlyWhatIsThere)
{
    std::vector<std::string> texts;
    ZavJson::AppendText(FromText("{}"), "A", texts);
    EXPECT_THAT(texts, IsEmpty());
    ZavJson::AppendText(FromText(R"({"A": "x"})"), "A", texts);
    ZavJson::AppendText(FromText(R"({"A": null})"), "A", texts);
    EXPECT_THAT(texts, ElementsAre("x", ""));
    EXPECT_EQ("A is not a text", ErrorOf([&texts] { ZavJson::AppendText(FromText(R"({"A": []})"), "A", texts); }));
    EXPECT_EQ(2U, texts.size());
}

TEST_F(ZavJsonTextTest, AppendTextFindsNothingInANullElement)
{
    std::vector<std::string> texts;
    ZavJson::AppendText(Json::Value(), "A", texts);
    EXPECT_THAT(texts, IsEmpty());
    EXPECT_EQ("element is not an object, looking for A",
              ErrorOf([&texts] { ZavJson::AppendText(Json::Value("A"), "A", texts); }));
}

class ZavJsonEnvelopeTest : public ::testing::Test {};

TEST_F(ZavJsonEnvelopeTest, DecodeEnvelopeErrorReadsTheNamedVerdict)
{
    ZavJson::EnvelopeError error;
    EXPECT_TRUE(ZavJson::DecodeEnvelopeError(FromText(R"({"result": {"code": -2147483648, "description": "d"}})"),
                                             "result", error));
    EXPECT_EQ(-2147483647 - 1, error.code);
    EXPECT_EQ("d", error.description);
}

TEST_F(ZavJsonEnvelopeTest, DecodeEnvelopeErrorLeavesTheOutputOfAMalformedOne)
{
    for (const char* const json :
         {"{}", "[]", R"({"error": {}})", R"({"error": {"code": 2}})", R"({"error": {"code": 2, "description": []}})",
          R"({"error": {"code": "2", "description": "d"}})", R"({"result": {"code": 2, "description": "d"}})"}) {
        ZavJson::EnvelopeError error{1, "before"};
        EXPECT_FALSE(ZavJson::DecodeEnvelopeError(FromText(json), "error", error)) << json;
        EXPECT_EQ(1, error.code);
        EXPECT_EQ("before", error.description);
    }
}

} // namespace

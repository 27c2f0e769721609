#include "rest/answer_json.h"

#include "tests/unit/rest/json_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class AnswerJsonTextTest : public ::testing::Test {
protected:
    AnswerJson::Finding Find(const std::string& json)
    {
        m_text = "before";
        return AnswerJson::FindOptionalText(FromText(json), "A", m_text);
    }

    std::string m_text;
};

TEST_F(AnswerJsonTextTest, FindOptionalTextTellsFoundFromAbsentFromMalformed)
{
    EXPECT_EQ(AnswerJson::Finding::Found, Find(R"({"A": "x"})"));
    EXPECT_EQ("x", m_text);
    EXPECT_EQ(AnswerJson::Finding::Found, Find(R"({"A": null})"));
    EXPECT_EQ("", m_text);
    for (const char* const absent : {"null", "{}", R"({"a": "x"})"}) {
        EXPECT_EQ(AnswerJson::Finding::Absent, Find(absent)) << absent;
        EXPECT_EQ("before", m_text);
    }
    for (const char* const malformed : {R"({"A": {}})", R"({"A": []})", "[]", R"("A")", "1", "false"}) {
        EXPECT_EQ(AnswerJson::Finding::Malformed, Find(malformed)) << malformed;
        EXPECT_EQ("before", m_text);
    }
}

TEST_F(AnswerJsonTextTest, FindTextNeedsAnObjectWithAText)
{
    std::string text = "before";
    for (const char* const json : {"{}", "[]", "null", R"("A")", R"({"A": {}})"}) {
        EXPECT_FALSE(AnswerJson::FindText(FromText(json), "A", text)) << json;
        EXPECT_EQ("before", text);
    }
    EXPECT_TRUE(AnswerJson::FindText(FromText(R"({"A": 5})"), "A", text));
    EXPECT_EQ("5", text);
}

TEST_F(AnswerJsonTextTest, MemberTextOfAnAbsentMemberIsEmpty)
{
    EXPECT_EQ("", AnswerJson::MemberText(FromText("{}"), "A"));
    EXPECT_EQ("x", AnswerJson::MemberText(FromText(R"({"A": "x"})"), "A"));
    EXPECT_EQ("element is not an object, looking for A",
              ErrorOf([] { AnswerJson::MemberText(Json::Value(Json::arrayValue), "A"); }));
}

TEST_F(AnswerJsonTextTest, AppendTextAppendsOnlyWhatIsThere)
{
    std::vector<std::string> texts;
    EXPECT_FALSE(AnswerJson::AppendText(FromText("{}"), "A", texts));
    EXPECT_THAT(texts, IsEmpty());
    EXPECT_TRUE(AnswerJson::AppendText(FromText(R"({"A": "x"})"), "A", texts));
    EXPECT_TRUE(AnswerJson::AppendText(FromText(R"({"A": null})"), "A", texts));
    EXPECT_THAT(texts, ElementsAre("x", ""));
    EXPECT_EQ("A is not a text", ErrorOf([&texts] { AnswerJson::AppendText(FromText(R"({"A": []})"), "A", texts); }));
    EXPECT_EQ(2U, texts.size());
}

TEST_F(AnswerJsonTextTest, AppendTextFindsNothingInANullElement)
{
    std::vector<std::string> texts;
    EXPECT_FALSE(AnswerJson::AppendText(Json::Value(), "A", texts));
    EXPECT_THAT(texts, IsEmpty());
    EXPECT_EQ("element is not an object, looking for A",
              ErrorOf([&texts] { AnswerJson::AppendText(Json::Value("A"), "A", texts); }));
}

class AnswerJsonEnvelopeTest : public ::testing::Test {};

TEST_F(AnswerJsonEnvelopeTest, FindVerdictReadsTheNamedOne)
{
    AnswerJson::Verdict error;
    const Json::Value root = FromText(R"({"result": {"code": -2147483648, "description": "d"}})");
    EXPECT_TRUE(AnswerJson::FindVerdict(root, "result", error));
    EXPECT_EQ(-2147483647 - 1, error.code);
    EXPECT_EQ("d", error.description->asString());
}

TEST_F(AnswerJsonEnvelopeTest, FindVerdictLeavesTheOutputOfAMalformedOne)
{
    for (const char* const json :
         {"{}", "[]", R"({"error": {}})", R"({"error": {"code": 2}})",
          R"({"error": {"code": "2", "description": "d"}})", R"({"result": {"code": 2, "description": "d"}})"}) {
        const Json::Value before("before");
        AnswerJson::Verdict error{1, &before};
        EXPECT_FALSE(AnswerJson::FindVerdict(FromText(json), "error", error)) << json;
        EXPECT_EQ(1, error.code);
        EXPECT_EQ(&before, error.description);
    }
}

TEST(AnswerJsonNumberTest, ToNumberTakesDigitsWithASignAndNothingElse)
{
    std::uint64_t wide = 0;
    EXPECT_TRUE(AnswerJson::ToNumber("18446744073709551615", wide));
    EXPECT_EQ(18446744073709551615U, wide);
    std::uint32_t narrow = 0;
    EXPECT_TRUE(AnswerJson::ToNumber("+7", narrow));
    EXPECT_EQ(7U, narrow);
    EXPECT_TRUE(AnswerJson::ToNumber("-1", narrow)) << "which counts backwards from the width";
    EXPECT_EQ(4294967295U, narrow);
    for (const char* const other : {"", " 1", "1 ", "1x", "0x1", "1.0", "--1", "4294967296"}) {
        narrow = 5;
        EXPECT_FALSE(AnswerJson::ToNumber(other, narrow)) << other;
        EXPECT_EQ(5U, narrow) << other;
    }
}

} // namespace

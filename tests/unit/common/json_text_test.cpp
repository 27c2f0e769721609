#include "common/json_text.h"
#include "tests/support/sanitizers.h"
#include "tests/unit/system_calls.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <random>

using JsonText::Style;

namespace {

class JsonTextTest : public ::testing::Test {};

TEST_F(JsonTextTest, ParseCountsTheStructureBeforeItReads)
{
    const auto parse = [](const std::string& text) {
        Json::Value root;
        return JsonText::Parse(text, root);
    };
    std::string list = "[0";
    for (int i = 1; i < 3'000'000; ++i) {
        list += ",0";
    }
#if !defined(SANITIZES_ADDRESSES) && !defined(SANITIZES_THREADS) // which would take half a minute for it
    EXPECT_TRUE(parse(list + "]"));
#endif
    EXPECT_FALSE(parse(list + ",0]"));
    // What stands in texts and comments is no structure; what stands behind them is.
    EXPECT_TRUE(parse("[\"" + std::string(3'000'001, ',') + "\\\"{\"]"));
    EXPECT_TRUE(parse("[/*" + std::string(3'000'001, ',') + "*/ 1 // \" " + std::string(100, '{') + "\n]"));
    EXPECT_FALSE(parse("[// \"\n" + list.substr(1) + ",0,0]"));
    EXPECT_FALSE(parse("[// \"\r" + list.substr(1) + ",0,0]")) << "which ends a line as well";
    EXPECT_FALSE(parse("[/* \" */" + list.substr(1) + ",0,0]"));
}

// A static object that outlives what the main thread kept, as one that logs out of an array at the program's end.
struct LastUser {
    LastUser() = default;
    LastUser(const LastUser&) = delete;
    LastUser& operator=(const LastUser&) = delete;
    ~LastUser()
    {
        Json::Value root;
        const bool isRead = JsonText::Parse(R"({"a": [1, 2]})", root);
        const std::string compact = JsonText::Write(root, Style::Compact);
        const std::string indented = JsonText::Write(root, Style::Indented);
        ::_exit(isRead && compact == R"({"a":[1,2]})" && indented.find('\n') != std::string::npos ? 7 : 8);
    }
};

using JsonTextDeathTest = JsonTextTest;

TEST_F(JsonTextDeathTest, ReadsAndWritesWhileStaticObjectsEnd)
{
    for (const char* const before : {"[1]", "[1] // a comment"}) {
        EXPECT_EXIT(
            {
                static const LastUser last;
                Json::Value root;
                JsonText::Parse(before, root);
                JsonText::Write(root, Style::Compact);
                JsonText::Write(root, Style::Indented);
                std::exit(1); // NOLINT: the other threads are the parent's
            },
            ::testing::ExitedWithCode(7), "")
            << before;
    }
}

TEST_F(JsonTextTest, ParseReadsWhatIsJsonAndRefusesTheRest)
{
    Json::Value root;
    EXPECT_TRUE(JsonText::Parse(R"({"a": [1, "x", null, true]})", root));
    EXPECT_EQ("x", root["a"][1].asString());
    for (const char* const scalar : {"1", "\"x\"", "null", " true "}) {
        EXPECT_TRUE(JsonText::Parse(scalar, root)) << scalar;
    }
    for (const char* const wrong : {"", " ", "{", "[1,", "<html>", "{'a': 1}", R"({"a" 1})"}) {
        EXPECT_FALSE(JsonText::Parse(wrong, root)) << wrong;
    }
}

TEST_F(JsonTextTest, ParseOfTooDeepATextFailsWithoutAnException)
{
    Json::Value root;
    EXPECT_FALSE(JsonText::Parse(std::string(100000, '['), root));
    EXPECT_FALSE(JsonText::Parse(std::string(2000, '[') + std::string(2000, ']'), root));
    EXPECT_TRUE(JsonText::Parse(std::string(900, '[') + std::string(900, ']'), root));
}

TEST_F(JsonTextTest, ParseTakesNothingFromOneTextIntoTheNext)
{
    const std::string tooDeep(2000, '[');
    for (const char* const before :
         {"{\"a\": 1}", "/* of the first */ 1", "1 // of the first", "{\"a\" 1}", tooDeep.c_str()}) {
        Json::Value first;
        JsonText::Parse(before, first);
        Json::Value root;
        ASSERT_TRUE(JsonText::Parse("{\"b\": [2]}", root)) << before;
        EXPECT_EQ(1U, root.size()) << before;
        EXPECT_EQ(2, root["b"][0].asInt()) << before;
        EXPECT_FALSE(root.hasComment(Json::commentBefore)) << before;
        EXPECT_FALSE(JsonText::Parse("{\"b\": [2}", root)) << before;
    }
}

TEST_F(JsonTextTest, ParseReadsUpToTheTextsEndNotToANul)
{
    Json::Value root;
    EXPECT_FALSE(JsonText::Parse(std::string("[1\0]", 4), root));
    EXPECT_TRUE(JsonText::Parse(R"("a\u0000b")", root));
    EXPECT_EQ(std::string("a\0b", 3), root.asString());
}

TEST_F(JsonTextTest, WriteIndentsWithTabsOrNotAtAll)
{
    Json::Value root;
    root["b"] = 0;
    root["a"] = "x";
    EXPECT_EQ("{\n\t\"a\" : \"x\",\n\t\"b\" : 0\n}", JsonText::Write(root));
    EXPECT_EQ("{\n\t\"a\" : \"x\",\n\t\"b\" : 0\n}", JsonText::Write(root, Style::Indented));
    EXPECT_EQ(R"({"a":"x","b":0})", JsonText::Write(root, Style::Compact));
    EXPECT_EQ("null", JsonText::Write(Json::Value(), Style::Compact));
    EXPECT_EQ("\"  \"", JsonText::Write("  "));
}

TEST_F(JsonTextTest, WriteLeavesNoWhiteSpaceAtTheEnds)
{
    Json::Value root = 1;
    root.setComment(std::string("// a comment is written too "), Json::commentAfter);
    EXPECT_EQ("1\n// a comment is written too", JsonText::Write(root));
}

/// What the writer makes of `root` when it is given the secret like any other text.
std::string Plainly(Json::Value root, const std::string& name, const std::string& secret, Style style)
{
    root[name] = secret;
    return JsonText::Write(root, style);
}

class JsonTextSecretTest : public ::testing::TestWithParam<std::string> {};

TEST_P(JsonTextSecretTest, WriteWithSecretIsWhatTheWriterWrites)
{
    Json::Value root;
    for (const Style style : {Style::Indented, Style::Compact}) {
        EXPECT_EQ(Plainly(root, "password", GetParam(), style),
                  JsonText::WriteWithSecret(root, "password", GetParam(), style));
    }
    root["a"] = "0";
    root["password1"] = "password";
    root["scope"] = 0;
    for (const Style style : {Style::Indented, Style::Compact}) {
        EXPECT_EQ(Plainly(root, "password", GetParam(), style),
                  JsonText::WriteWithSecret(root, "password", GetParam(), style));
    }
}

INSTANTIATE_TEST_SUITE_P(Secrets, JsonTextSecretTest,
                         ::testing::Values("", "0", "secret", "\"0\"", "\\\"", "a/b", "tab\there\n\r\b\f", "\x1f\x7f",
                                           "p\xc3\xa4ss", "\xe2\x82\xac uro", "\xf0\x9f\x98\x80", "cut\xc3",
                                           "cut\xe2\x82", "cut\xf0\x9f\x98", "\x80\x81", "\xff\xfe", "\xed\xa0\x80",
                                           std::string("nul\0nul", 7), std::string("\0", 1),
                                           std::string("\xc3\0\0x", 4), std::string(1000, '"'), R"("password" : "0")"));

TEST_F(JsonTextTest, WriteWithSecretIsWhatTheWriterWritesForAnyBytes)
{
    std::mt19937 random(20240229); // always the same texts
    for (int round = 0; round < 5000; ++round) {
        std::string secret(random() % 12, '\0');
        for (char& byte : secret) {
            // Every third byte is one of those at which the quoting changes its mind.
            static const std::string TURNS("\0\x1f \"\\/\x7f\x80\xbf\xc0\xdf\xe0\xed\xef\xf0\xf7\xf8\xff", 18);
            byte = random() % 3 == 0 ? TURNS[random() % TURNS.size()] : static_cast<char>(random() & 0xFF);
        }
        Json::Value root;
        root["user"] = "u";
        ASSERT_EQ(Plainly(root, "password", secret, Style::Compact),
                  JsonText::WriteWithSecret(root, "password", secret, Style::Compact));
    }
}

TEST_F(JsonTextTest, WipeTextsLeavesNothingOfAnyTextWhereItStood)
{
    Json::Value root;
    ASSERT_TRUE(JsonText::Parse(R"({"a": "secret one", "b": ["secret two", {"c": "secret three"}], "d": 4})", root));
    const Json::Value* const texts[] = {&root["a"], &root["b"][0], &root["b"][1]["c"]};
    JsonText::WipeTexts(root);
    const std::size_t sizes[] = {10, 10, 12};
    for (std::size_t index = 0; index < 3; ++index) {
        const char* begin = nullptr;
        const char* end = nullptr;
        ASSERT_TRUE(texts[index]->getString(&begin, &end));
        EXPECT_EQ(std::string(sizes[index], '\0'), std::string(begin, end));
    }
    EXPECT_EQ(4, root["d"].asInt());
}

TEST_F(JsonTextTest, WipeTextsOfNoTextDoesNothing)
{
    for (const char* const json : {"null", "1", "true", "[]", "{}", "\"\""}) {
        Json::Value root;
        ASSERT_TRUE(JsonText::Parse(json, root));
        const Json::Value before = root;
        JsonText::WipeTexts(root);
        EXPECT_EQ(before, root) << json;
    }
}

TEST_F(JsonTextTest, FindMemberFindsOnlyInAnObject)
{
    Json::Value root;
    root["a"] = Json::Value();
    ASSERT_NE(nullptr, JsonText::FindMember(root, "a"));
    EXPECT_TRUE(JsonText::FindMember(root, "a")->isNull());
    EXPECT_EQ(nullptr, JsonText::FindMember(root, "b"));
    EXPECT_EQ(nullptr, JsonText::FindMember(Json::Value(), "a"));
    EXPECT_EQ(nullptr, JsonText::FindMember(Json::Value(Json::arrayValue), "a"));
    EXPECT_EQ(nullptr, JsonText::FindMember("a", "a"));
}

TEST_F(JsonTextTest, ToTextTakesAnyScalarAndLeavesTheTextOtherwise)
{
    const auto textOf = [](const Json::Value& value) {
        std::string text = "before";
        EXPECT_TRUE(JsonText::ToText(value, text));
        return text;
    };
    EXPECT_EQ("x", textOf("x"));
    EXPECT_EQ("", textOf(""));
    EXPECT_EQ(std::string("a\0b", 3), textOf(std::string("a\0b", 3)));
    EXPECT_EQ("-5", textOf(-5));
    EXPECT_EQ("18446744073709551615", textOf(Json::Value::maxUInt64));
    EXPECT_EQ("1.5", textOf(1.5));
    EXPECT_EQ("true", textOf(true));
    EXPECT_EQ("false", textOf(false));
    EXPECT_EQ("", textOf(Json::Value()));

    std::string text = "before";
    EXPECT_FALSE(JsonText::ToText(Json::Value(Json::objectValue), text));
    EXPECT_FALSE(JsonText::ToText(Json::Value(Json::arrayValue), text));
    EXPECT_EQ("before", text);
}

TEST_F(JsonTextTest, WriteWithSecretWipesEachQuotedCharacter)
{
    Json::Value root(Json::objectValue);
    const SystemCalls calls;
    JsonText::WriteWithSecret(root, "password", "st", Style::Compact);
    int quoted = 0;
    for (const SystemCalls::Wipe& wipe : calls.Wipes()) {
        quoted += wipe.bytes.substr(0, 3) == R"("s")" && wipe.bytes.c_str() == std::string(R"("s")") ? 1 : 0;
    }
    EXPECT_EQ(1, quoted); // the whole is wiped as "st"; later passes see zeros
}

} // namespace

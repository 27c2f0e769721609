#include "simulator/http/journal.h"
#include "simulator/http/listen_address.h"
#include "simulator/http/masking.h"
#include "simulator/http/target.h"
#include "simulator/json/json_io.h"
#include "tests/support/sanitizers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <malloc.h>

namespace ZavSim {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;

TEST(TargetTest, ParseKeepsEmptyPiecesAndDecodesEach)
{
    const auto target = ParseTarget("/a//b%2Fc/?range=[0-100]&k=%41+b&bare&k=second");
    ASSERT_TRUE(target);
    EXPECT_THAT(target->pieces, ElementsAre("a", "", "b/c", ""));
    EXPECT_THAT(target->query, ElementsAre(Pair("bare", ""), Pair("k", "A+b"), Pair("range", "[0-100]")));
}

TEST(TargetTest, ParseRefusesABrokenPercentSign)
{
    EXPECT_FALSE(ParseTarget("/a%2"));
    EXPECT_FALSE(ParseTarget("/a%zz"));
    EXPECT_FALSE(ParseTarget("/a?b=%"));
}

std::string MaskedBody(const std::string& body)
{
    HttpRequest request;
    request.body = body;
    request.ParseBody();
    return MaskBody(request);
}

TEST(MaskingTest, BodyShowsEverythingButSecretsAtAnyDepth)
{
    EXPECT_EQ(R"({"username":"u","password":"***","scope":0,"a":[{"iBaseToken":"***"}]})",
              MaskedBody(R"({"username":"u","password":"p","scope":0,"a":[{"iBaseToken":"t"}]})"));
    EXPECT_EQ("", MaskedBody(""));
    EXPECT_EQ("\"(13 bytes that are not JSON)\"", MaskedBody("password=mine"));
}

TEST(MaskingTest, LongBodyShowsItsLengthAlone)
{
    const std::string body = "{\"NAME\":\"" + std::string(SHOWN_BODY_BYTES, 'n') + "\"}";
    EXPECT_EQ("\"(" + std::to_string(body.size()) + " bytes, more than the journal keeps)\"", MaskedBody(body));
}

TEST(MaskingTest, AnswerShowsEverythingButSecretsAtAnyDepth)
{
    EXPECT_EQ("", MaskAnswer(""));
    EXPECT_EQ("(6 bytes that are not JSON)", MaskAnswer("<html>"));
    EXPECT_EQ(R"({"data":{"deviceid":"d","iBaseToken":"***"},"error":{"code":0}})",
              MaskAnswer(R"({"data":{"deviceid":"d","iBaseToken":"abc"},"error":{"code":0}})"));
    EXPECT_EQ(R"([{"x_auth_token" :"***","n":1},{"password":"***"},{"secret":"***"}])",
              MaskAnswer(R"([{"x_auth_token" : "a\"b,}","n":1},{"password":[1,{"a":"]"}]},{"secret":null}])"));
    EXPECT_EQ(R"({"iBaseTok\u0065n":"***","a":"token: no name"})",
              MaskAnswer(R"({"iBaseTok\u0065n":"abc","a":"token: no name"})"));
}

TEST(MaskingTest, AnswerThatIsCutShowsNoSecretEither)
{
    const std::string whole = R"({"a":"b","iBaseToken":"secret-value","c":[1,2]})";
    for (std::size_t length = 1; length <= whole.size(); ++length) {
        EXPECT_THAT(MaskAnswer(whole.substr(0, length)), Not(HasSubstr("secret"))) << length;
    }
}

TEST(MaskingTest, LongAnswerShowsItsBeginning)
{
    const std::string answer = "{\"data\":\"" + std::string(SHOWN_BODY_BYTES, 'x') + "\",\"iBaseToken\":\"abc\"}";
    const std::string shown = MaskAnswer(answer);
    EXPECT_EQ(answer.substr(0, SHOWN_BODY_BYTES) + " … (" + std::to_string(answer.size()) + " bytes in all)", shown);
}

TEST(MaskingTest, TargetShowsEverythingButSecrets)
{
    EXPECT_EQ("/a?x=1&iBaseToken=***&y=2", MaskTarget("/a?x=1&iBaseToken=abc&y=2"));
    EXPECT_EQ("/a?pass%77ord=***", MaskTarget("/a?pass%77ord=abc"));
    EXPECT_EQ("/a/token", MaskTarget("/a/token"));
}

TEST(ListenAddressTest, ParseUnderstandsBothFamiliesAndGivesTheUrlBack)
{
    EXPECT_EQ("https://127.0.0.1:8088", ParseListenAddress("https://127.0.0.1:8088").Url());
    const ListenAddress six = ParseListenAddress("http://[::1]:0");
    EXPECT_FALSE(six.tls);
    EXPECT_EQ("::1", six.host);
    EXPECT_EQ("http://[::1]:0", six.Url());
}

TEST(ListenAddressTest, ParseRefusesEverythingElseAndNamesIt)
{
    for (const char* const text : {"127.0.0.1:1", "ftp://127.0.0.1:1", "https://127.0.0.1", "https://localhost:1",
                                   "https://::1:1", "https://[127.0.0.1]:1", "https://127.0.0.1:65536",
                                   "https://127.0.0.1:", "https://127.0.0.1:1x", "https://:1"}) {
        try {
            ParseListenAddress(text);
            ADD_FAILURE() << text;
        } catch (const std::invalid_argument& error) {
            EXPECT_THAT(error.what(), HasSubstr(text));
        }
    }
}

class JournalTest : public ::testing::Test {
protected:
    std::uint64_t Note(const std::string& target)
    {
        HttpRequest request;
        request.method = "GET";
        request.target = target;
        return journal.Begin(request);
    }

    Journal journal{3};
};

TEST_F(JournalTest, SinceGivesLaterEntriesAndCountsTheLost)
{
    for (const char* const target : {"/1", "/2", "/3", "/4", "/5"}) {
        Note(target);
    }
    const Json::Value all = journal.Since(0);
    EXPECT_EQ(5, all["last"].asInt());
    EXPECT_EQ(2, all["lost"].asInt());
    ASSERT_EQ(3U, all["entries"].size());
    EXPECT_EQ("/3", all["entries"][0]["target"].asString());
    const Json::Value some = journal.Since(4);
    EXPECT_EQ(0, some["lost"].asInt());
    ASSERT_EQ(1U, some["entries"].size());
    EXPECT_EQ(5, some["entries"][0]["number"].asInt());
}

TEST_F(JournalTest, EntryWithoutAnswerShowsNoStatusUntilItIsGiven)
{
    const std::uint64_t number = Note("/slow");
    EXPECT_FALSE(journal.Since(0)["entries"][0].isMember("status"));
    HttpAnswer answer;
    answer.status = 200;
    answer.code = 5;
    answer.session = 9;
    journal.End(number, answer, "delay");
    const Json::Value entry = journal.Since(0)["entries"][0];
    EXPECT_EQ(200, entry["status"].asInt());
    EXPECT_EQ(5, entry["code"].asInt());
    EXPECT_EQ(9, entry["session"].asInt());
    EXPECT_EQ("delay", entry["fault"].asString());
}

TEST_F(JournalTest, ClearForgetsEntriesButNotNumbers)
{
    const std::uint64_t number = Note("/1");
    journal.Clear();
    journal.End(number, HttpAnswer(), "");
    EXPECT_EQ(0U, journal.Since(0)["entries"].size());
    EXPECT_EQ(0, journal.Since(0)["lost"].asInt());
    EXPECT_EQ(2U, Note("/2"));
}

TEST_F(JournalTest, BodiesOfTheOldestEntriesGoFirstWhenTheyAreTooMuchTogether)
{
    Journal large(100000);
    const std::string answer(SHOWN_BODY_BYTES, 'a');
    const std::size_t count = Journal::MOST_BODY_BYTES / SHOWN_BODY_BYTES;
    const std::uint64_t early = large.Begin(HttpRequest());
    for (std::size_t i = 0; i < count; ++i) {
        large.End(large.Begin(HttpRequest()), HttpAnswer(), "", answer);
    }
    EXPECT_TRUE(large.Since(0)["entries"][1].isMember("answer")) << "as much as is kept";
    large.End(large.Begin(HttpRequest()), HttpAnswer(), "", answer);
    const Json::Value entries = large.Since(0)["entries"];
    EXPECT_FALSE(entries[1].isMember("answer"));
    EXPECT_EQ(200, entries[1]["status"].asInt()) << "the entry itself stays";
    EXPECT_TRUE(entries[2].isMember("answer"));
    large.End(early, HttpAnswer(), "", answer); // late, and the oldest: its own goes
    EXPECT_FALSE(large.Since(0)["entries"][0].isMember("answer"));
    EXPECT_TRUE(large.Since(0)["entries"][2].isMember("answer"));
}

// The parsed value of such a body takes fifty times its text.
TEST_F(JournalTest, BodyTakesNoMoreMemoryThanItsText)
{
#if defined(SANITIZES_ADDRESSES) || defined(SANITIZES_THREADS)
    GTEST_SKIP() << "the sanitizer's own memory does not tell its use";
#endif
    constexpr std::size_t BODIES = 100;
    HttpRequest request;
    request.body = "[[]";
    while (request.body.size() < SHOWN_BODY_BYTES - sizeof ",[]]") {
        request.body += ",[]";
    }
    request.body += "]";
    request.ParseBody();
    Journal large(BODIES);
    const auto used = [] {
        const auto memory = ::mallinfo2();
        return memory.uordblks + memory.hblkhd;
    };
    const std::size_t before = used();
    for (std::size_t i = 0; i < BODIES; ++i) {
        large.Begin(request);
    }
    EXPECT_LT(used() - before, 2 * BODIES * request.body.size());
    EXPECT_EQ(*request.json, large.Since(0, 1)["entries"][0]["body"]) << "it is told as it came";
}

TEST_F(JournalTest, SinceGivesOfManyTheNewest)
{
    for (const char* const target : {"/1", "/2", "/3"}) {
        Note(target);
    }
    const Json::Value newest = journal.Since(0, 2);
    EXPECT_EQ(3, newest["last"].asInt());
    ASSERT_EQ(2U, newest["entries"].size());
    EXPECT_EQ("/2", newest["entries"][0]["target"].asString());
}

TEST_F(JournalTest, EntryTellsTheTimeInBothClocks)
{
    Note("/1");
    const Json::Value entry = journal.Since(0)["entries"][0];
    EXPECT_THAT(entry["time"].asString(), ::testing::MatchesRegex("....-..-..T..:..:..\\....Z"));
    EXPECT_GT(entry["monotonicMs"].asInt64(), 0);
}

} // namespace
} // namespace ZavSim

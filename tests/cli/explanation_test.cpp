#include "cli/console/explanation.h"
#include "common/result_codes.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr int WARNING = 3; // a level

LogTail::Line Said(const std::string& text)
{
    return {WARNING, "LoginIscsiTarget", "iscsiadm said: " + text};
}

LogTail::Line NotLoggedInAt(const std::string& url, const std::string& why, int code)
{
    return {WARNING, "TryToGetAValidMgmtIP",
            "Login Zav device failed using this mgmt IP:  " + url + ", error msg is " + why + ", error code is " +
                std::to_string(code)};
}

/// The member "code"; "none" where there is none.
std::string CodeOf(const Failure& failure, const std::vector<LogTail::Line>& logged = {})
{
    const Json::Value told = ToJson(Explain(failure, logged));
    return told.isMember("code") ? told["code"].asString() : "none";
}

TEST(ExplanationTest, CodeIsTheNumberThatTheRequestWasGiven)
{
    const auto codeOf = [](const std::string& text, int code) {
        return CodeOf(Failure::OfRequest(ExitCode::Refused, "https://a: cannot read it", text, code));
    };
    EXPECT_EQ("1077949006", codeOf("busy", ArrayCode::SYSTEM_BUSY));
    EXPECT_EQ("-401", codeOf("", ArrayCode::SESSION_LAPSED));
    EXPECT_EQ("42", codeOf("see chapter (7)", 42));
    EXPECT_EQ("libcurl 28", codeOf("Timeout was reached (libcurl 28)", ResultCode::TRANSPORT_ERROR));
    EXPECT_EQ("none", codeOf("Parse json string failed", ResultCode::FAILED));
    EXPECT_EQ("none", codeOf("see chapter (7)", ResultCode::FAILED));
    EXPECT_EQ("42", codeOf("what (libcurl says)", 42)) << "words of an array";
}

TEST(ExplanationTest, NumbersThatNoArrayGaveAreNoCode)
{
    EXPECT_EQ("none", CodeOf(Failure(ExitCode::Refused, "this node's iSCSI sessions are not known: iscsiadm said \"\" "
                                                        "(141)")));
    EXPECT_EQ("none", CodeOf(Failure(ExitCode::Drift, "https://a: host 7 (42) does not stand")));
    EXPECT_EQ("none", CodeOf(Failure(ExitCode::Foreign, "disk sda is open in process 71 (8)")));
    EXPECT_EQ("none", CodeOf(Failure::OfLibrary("https://a: this node has no iSCSI session", ExitCode::Drift),
                             {Said("iscsiadm: can not connect to iSCSI daemon (111)!")}));
}

TEST(ExplanationTest, CodeOfWhatTheLibraryLogged)
{
    const Failure failure = Failure::OfLibrary("https://a: this node could not be prepared");
    EXPECT_EQ("7",
              CodeOf(failure, {{WARNING, "Create", "create host \"42\" failed: the array answered with error 7: no"}}));
    EXPECT_EQ("8", CodeOf(failure, {{WARNING, "ParseRsp", "code : 8, Describe : see chapter (9)"}}));
    EXPECT_EQ("libcurl 7", CodeOf(failure, {{WARNING, "SendAndParseRsp",
                                             "Send http request occur network error. Error  is Connection refused "
                                             "(libcurl 7)"}}));
}

TEST(ExplanationTest, CauseOfARequestIsWhatWasSaidToIt)
{
    const LogTail::Line dead = {WARNING, "SendAndParseRsp",
                                "Send http request occur network error. Error  is Connection refused (libcurl 7)"};
    const LogTail::Line gone = {WARNING, "ParseRsp", "code : 1077951819, Describe : gone"};
    const LogTail::Line mapped = {WARNING, "ParseRsp", "code : 1090519057, Describe : mapped"};
    const auto causeOf = [](int code, const std::vector<LogTail::Line>& logged) {
        const Failure failure = Failure::OfLibraryRequest("it stopped", ExitCode::Refused, code);
        const Explanation explanation = Explain(failure, logged);
        return explanation.cause + " " + std::to_string(static_cast<int>(explanation.exit)) + " " + explanation.number;
    };
    EXPECT_EQ("it stopped: the array refused: \"mapped\" (1090519057) 9 1090519057",
              causeOf(1090519057, {dead, gone, mapped}));
    EXPECT_EQ("it stopped 9 1090519057", causeOf(1090519057, {dead, gone})) << "rather nothing than another's words";
    EXPECT_EQ("it stopped: the array refused: \"mapped\" (1090519057) 9 1090519057",
              causeOf(ResultCode::FAILED, {dead, gone, mapped}));
    EXPECT_EQ("it stopped: Connection refused (libcurl 7) 8 libcurl 7", causeOf(ResultCode::FAILED, {gone, dead}));
    EXPECT_EQ("it stopped: Connection refused (libcurl 7) 8 libcurl 7",
              causeOf(ResultCode::TRANSPORT_ERROR, {mapped, dead, gone}));
    EXPECT_EQ("it stopped 9 ", causeOf(ResultCode::FAILED, {}));
}

TEST(ExplanationTest, OfSeveralAddressesTheLastThatGaveANumberHasIt)
{
    const Failure failure =
        Failure::OfLogin("env: cannot log into the array at a: no (libcurl 7)", ExitCode::Unreachable, "libcurl 7");
    EXPECT_EQ("libcurl 7", CodeOf(failure));
    EXPECT_EQ("libcurl 7", CodeOf(failure, {NotLoggedInAt("https://b", "", ResultCode::FAILED)}));
    EXPECT_EQ("libcurl 28",
              CodeOf(failure, {NotLoggedInAt("https://b", "late (libcurl 28)", ResultCode::TRANSPORT_ERROR)}));
    const std::vector<LogTail::Line> logged = {
        NotLoggedInAt("https://b", "late (libcurl 28)", ResultCode::TRANSPORT_ERROR),
        NotLoggedInAt("https://c", "who?", 42), NotLoggedInAt("https://b", "no", 43)};
    const Explanation explanation = Explain(failure, logged);
    EXPECT_EQ("env: cannot log into the array at a: no (libcurl 7); nor at https://b: no (43); nor at https://c: who? "
              "(42)",
              explanation.cause);
    EXPECT_EQ("42", explanation.number);
}

} // namespace

// What all of the array client's inventory and mapping operations have in common.

#include "tests/unit/rest/rest_test.h"
#include "tests/unit/rest/zav_rest_operations.h"

#include <tuple>

using ::testing::Combine;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::ValuesIn;

namespace {

class OperationTest : public RestTest {
protected:
    void ExpectOutputsUnchanged(const RestOperation& operation) const
    {
        EXPECT_EQ("before", m_out.text);
        EXPECT_EQ(7U, m_out.number);
        EXPECT_EQ(operation.clearsTexts ? 0U : 1U, m_out.texts.size());
        EXPECT_EQ(1U, m_out.pools.size());
        EXPECT_EQ(1U, m_out.luns.size());
        EXPECT_FALSE(m_out.flag);
    }

    /// The lines of an operation that does what `body` says.
    static std::vector<LineMatcher> Lines(const RestOperation& operation, const std::vector<LineMatcher>& body)
    {
        std::vector<LineMatcher> lines = {Line(operation.name, 1, "Enter " + operation.name)};
        if (!operation.opening.empty()) {
            lines.push_back(Line(operation.name, 1, operation.opening));
        }
        lines.insert(lines.end(), body.begin(), body.end());
        lines.push_back(Line(operation.name, 1, "End " + operation.name));
        return lines;
    }

    Outputs m_out;
};

class ZavRestApiOperationTest : public OperationTest, public ::testing::WithParamInterface<RestOperation> {};

TEST_P(ZavRestApiOperationTest, WithoutALoginNothingIsSentAndTheOutputsStay)
{
    EXPECT_EQ(-1, GetParam().run(m_api, m_out, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    ExpectOutputsUnchanged(GetParam());
    EXPECT_THAT(m_log.Lines(), ElementsAreArray(Lines(GetParam(), {Line(GetParam().name, 4, GetParam().notLogined)})));
}

TEST_P(ZavRestApiOperationTest, ExactlyItsRequestLeaves)
{
    LogIn();
    m_http.Next(ArrayError(1, ""));
    GetParam().run(m_api, m_out, m_errorText);

    ASSERT_THAT(m_http.Lines(), ElementsAre(GetParam().method + " " + Url(GetParam().resource)));
    const TMSHttpRequest request = m_http.Requests().front();
    EXPECT_THAT(request.headers, ElementsAre(Pair("Cookie", "session=c1"), Pair("iBaseToken", "TOK1")));
    EXPECT_EQ(GetParam().body, request.body);
    EXPECT_EQ("option", request.optionText);
    EXPECT_EQ("", request.spare1 + request.spare2 + request.spare3 + request.spare4 + request.spare5);
    EXPECT_EQ(0, request.spareNumber);
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(90U));
}

TEST_P(ZavRestApiOperationTest, OnlySomeTakeTheAnswersCookie)
{
    LogIn();
    m_http.Next(Data("{}").WithCookie("session=c2"));
    GetParam().run(m_api, m_out, m_errorText);
    Zav::SessionInfo session;
    ASSERT_TRUE(m_api.GetSession(session));
    EXPECT_EQ(GetParam().parsesCookie ? "session=c2" : "session=c1", session.cookie);
}

INSTANTIATE_TEST_SUITE_P(Each, ZavRestApiOperationTest, ValuesIn(AllOperations()),
                         [](const auto& row) { return row.param.name; });

/// An exchange that fails below the operation.
struct Failure {
    std::string name;
    Answer answer;
    int result;
    std::string errorText; ///< afterwards
    std::string function;  ///< logs the failure
    std::string line;
};

void PrintTo(const Failure& failure, std::ostream* out)
{
    *out << failure.name;
}

std::vector<Failure> Failures()
{
    const std::string malformed = "Json object format is error. ";
    return {
        {"NoResponse", NoResponse(), -1, "untouched", "SendAndParseRsp", "Return response is empty. "},
        {"Transport", NetworkError("no route"), -20000, "no route", "SendAndParseRsp",
         "Send http request occur network error. Error  is no route"},
        {"HttpStatus", HttpError(500, "Server Error"), -1, "Server Error", "SendAndParseRsp",
         "Http response error. Error  is Server Error"},
        {"NoJson", Body("<html>"), -1, "Parse json string failed", "ParseRsp", "Parse json string failed."},
        {"NoEnvelope", Body(R"({"data": []})"), -1, malformed, "ParseRsp", "Json object error."},
        {"ArrayCode", ArrayError(1077948995, "no such thing"), 1077948995, "no such thing", "ParseRsp",
         "code : 1077948995, Describe : no such thing"},
        {"NegativeArrayCode", ArrayError(-401, "unauthorized"), -401, "unauthorized", "ParseRsp",
         "code : -401, Describe : unauthorized"},
    };
}

class ZavRestApiFailedExchangeTest : public OperationTest,
                                     public ::testing::WithParamInterface<std::tuple<RestOperation, Failure>> {};

TEST_P(ZavRestApiFailedExchangeTest, ResultErrorTextAndLinesArePassedOnAndTheOutputsStay)
{
    const auto& [operation, failure] = GetParam();
    LogIn();
    m_http.Next(failure.answer);
    EXPECT_EQ(failure.result, operation.run(m_api, m_out, m_errorText));
    EXPECT_EQ(failure.errorText, m_errorText);
    ExpectOutputsUnchanged(operation);

    std::vector<LineMatcher> body = {CountLine(), Line(failure.function, 4, failure.line)};
    if (!operation.failed.empty()) {
        body.push_back(
            Line(operation.name, 4, operation.failed + (operation.tellsReason ? failure.errorText : std::string())));
    }
    EXPECT_THAT(m_log.Lines(), ElementsAreArray(Lines(operation, body)));
    EXPECT_EQ(1U, m_http.Requests().size()); // nothing is tried again
}

INSTANTIATE_TEST_SUITE_P(Each, ZavRestApiFailedExchangeTest, Combine(ValuesIn(AllOperations()), ValuesIn(Failures())),
                         [](const auto& row) {
                             return std::get<0>(row.param).name + "On" + std::get<1>(row.param).name;
                         });

} // namespace

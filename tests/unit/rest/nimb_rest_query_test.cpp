#include "tests/unit/rest/nimb_rest_test.h"

#include <boost/algorithm/string/replace.hpp>

#include <utility>

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

/// A query for one text.
struct TextQuery {
    std::string name;
    std::string resource;
    std::string key;
    int (NimbRestApi::*read)(std::string& text, std::string& errorText);
    int level;        ///< of the line that follows a success
    std::string line; ///< with VALUE where the text belongs
};

void PrintTo(const TextQuery& query, std::ostream* out)
{
    *out << query.name;
}

class NimbRestApiTextQueryTest : public NimbRestTest, public ::testing::WithParamInterface<TextQuery> {
protected:
    void SetUp() override
    {
        NimbRestTest::SetUp();
        LogIn();
    }

    int Read() { return (m_api.get()->*GetParam().read)(m_text, m_errorText); }

    std::string m_text = "before";
};

TEST_P(NimbRestApiTextQueryTest, ExactlyItsRequestLeaves)
{
    m_http.Next(Body(R"({"result": 0})"));
    EXPECT_EQ(0, Read());
    ASSERT_THAT(m_http.Lines(), ElementsAre("GET " + Url(GetParam().resource)));
    const TMSHttpRequest request = m_http.Requests().front();
    EXPECT_EQ("", request.body);
    EXPECT_EQ("", request.optionText);
    EXPECT_THAT(request.headers, ElementsAre(Pair("Accept", "application/json"), Pair("Accept-Encoding", "gzip"),
                                             Pair("Accept-Language", "en"), Pair("Cache-Control", "no-cache"),
                                             Pair("Connection", "keep-alive"), Pair("Content-Type", "application/json"),
                                             Pair("X-Auth-Token", "TOK1")));
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(10U));
}

TEST_P(NimbRestApiTextQueryTest, TheTextIsReadAtTheTopOfTheAnswer)
{
    m_http.Next(Body(R"({"result": 0, ")" + GetParam().key + R"(": "value"})"));
    EXPECT_EQ(0, Read());
    EXPECT_EQ("value", m_text);
    EXPECT_EQ("", m_errorText);
    const std::string name = GetParam().name;
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Line(name, 1, "Enter " + name), Line("SendRequest", 1, "Enter SendRequest"),
                            Line("SendRequest", 1, "try send request, times is  0"),
                            Line("SendRequest", 2, "Send request ok."), Line("SendRequest", 1, "End SendRequest"),
                            Line(name, GetParam().level, boost::replace_all_copy(GetParam().line, "VALUE", "value")),
                            Line(name, 1, "End " + name)));
}

TEST_P(NimbRestApiTextQueryTest, AnyScalarIsAText)
{
    const std::vector<std::pair<std::string, std::string>> scalars = {{"8", "8"}, {"true", "true"}, {"null", ""}};
    for (const auto& [json, text] : scalars) {
        m_http.Next(Body(R"({"result": 0, ")" + GetParam().key + "\": " + json + "}"));
        EXPECT_EQ(0, Read());
        EXPECT_EQ(text, m_text);
    }
}

TEST_P(NimbRestApiTextQueryTest, AMissingTextIsASuccessThatChangesNothing)
{
    m_http.Next(Body(R"({"result": 0, "data": {")" + GetParam().key + R"(": "value"}})"));
    EXPECT_EQ(0, Read());
    EXPECT_EQ("before", m_text);
    EXPECT_EQ("", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAreArray(Sent()));
}

TEST_P(NimbRestApiTextQueryTest, WhatIsNoTextFails)
{
    for (const std::string json : {"{}", "[\"value\"]"}) {
        m_log.Clear();
        m_http.Next(Body(R"({"result": 0, ")" + GetParam().key + "\": " + json + "}"));
        EXPECT_EQ(-1, Read());
        EXPECT_EQ("before", m_text);
        EXPECT_EQ("Json object format is error. ", m_errorText);
        std::vector<LineMatcher> lines = Sent();
        lines.push_back(Line(GetParam().name, 4, "Json object error."));
        EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
    }
}

TEST_P(NimbRestApiTextQueryTest, ARefusalShowsInTheErrorTextAlone)
{
    m_http.Next(
        Body(R"({"result": 2, "errorCode": "5", "description": "refused", ")" + GetParam().key + R"(": "value"})"));
    EXPECT_EQ(0, Read());
    EXPECT_EQ("before", m_text);
    EXPECT_EQ("refused", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAreArray(Sent({Line("ParseBodyV1", 4, "code : 5, Describe : refused")})));
}

TEST_P(NimbRestApiTextQueryTest, AnAnswerThatIsNoJsonShowsInTheErrorTextAlone)
{
    m_http.Next(Body("<html>"));
    EXPECT_EQ(0, Read());
    EXPECT_EQ("before", m_text);
    EXPECT_EQ("Parse json string failed", m_errorText);
}

TEST_P(NimbRestApiTextQueryTest, FourFailedAttemptsGiveTheLastOnesResult)
{
    m_http.Always("GET", GetParam().resource, HttpError(503, "busy"));
    EXPECT_EQ(503, Read());
    EXPECT_EQ("before", m_text);
    EXPECT_EQ("busy", m_errorText);
    EXPECT_THAT(m_http.Requests(), SizeIs(4));
    EXPECT_EQ("Exit ", m_log.Told().back().text);
}

INSTANTIATE_TEST_SUITE_P(Each, NimbRestApiTextQueryTest,
                         ::testing::Values(TextQuery{"GetStorageVersion", "/lumeda/service/v1/version", "version",
                                                     &NimbRestApi::GetStorageVersion, 2, "version: VALUE"},
                                           TextQuery{"GetSerialNum", "/lumeda/service/v1/cluster/sn", "sn",
                                                     &NimbRestApi::GetSerialNum, 1, "Exit GetSerialNum"},
                                           TextQuery{"GetProductMode", "/lumeda/service/v1/productModel",
                                                     "productModel", &NimbRestApi::GetProductMode, 2,
                                                     "productMode: VALUE"}),
                         [](const auto& row) { return row.param.name; });

// ---- management addresses

struct AddressAnswer {
    const char* name;
    const char* manageIpInfo; ///< JSON
    int result;
    std::vector<std::string> ips; ///< behind the one that was there
    bool isMalformed = false;     ///< what it tells is no address
};

void PrintTo(const AddressAnswer& row, std::ostream* out)
{
    *out << row.manageIpInfo;
}

class NimbRestApiManagementIpsTest : public NimbRestTest {
protected:
    void SetUp() override
    {
        NimbRestTest::SetUp();
        LogIn();
    }

    std::vector<std::string> m_ips = {"before"};
};

class NimbRestApiManagementIpTest : public NimbRestApiManagementIpsTest,
                                    public ::testing::WithParamInterface<AddressAnswer> {};

TEST_P(NimbRestApiManagementIpTest, GetManagementIPAppendsWhatTheStorageTells)
{
    std::vector<std::string> expected = {"before"};
    expected.insert(expected.end(), GetParam().ips.begin(), GetParam().ips.end());
    m_http.Next(Body(R"({"result": 0, "manageIpInfo": )" + std::string(GetParam().manageIpInfo) + "}"));
    EXPECT_EQ(GetParam().result, m_api->GetManagementIP(m_ips, m_errorText));
    EXPECT_THAT(m_ips, ElementsAreArray(expected));
    EXPECT_EQ(GetParam().isMalformed ? "Json object format is error. " : "", m_errorText);
    std::vector<LineMatcher> lines = Sent();
    lines.push_back(GetParam().result == 0   ? Line("GetManagementIP", 2, "Exit GetManagementIP ")
                    : GetParam().isMalformed ? Line("GetManagementIP", 4, "Json object error.")
                                             : Line("GetManagementIP", 4, "no externalIpInfo info."));
    EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, NimbRestApiManagementIpTest,
    ::testing::Values(
        AddressAnswer{"All",
                      R"({"externalIpInfo": {"activeIp": "10.0.0.3", "floatIp": "10.0.0.1", "standbyIp": "10.0.0.2"}})",
                      0,
                      {"10.0.0.1", "10.0.0.2", "10.0.0.3"}},
        AddressAnswer{"OnlyActive", R"({"externalIpInfo": {"activeIp": "10.0.0.3"}})", 0, {"10.0.0.3"}},
        AddressAnswer{"NoRole", R"({"externalIpInfo": {"otherIp": "10.0.0.3"}})", 0, {}},
        AddressAnswer{"EmptyAddress", R"({"externalIpInfo": {"floatIp": "", "activeIp": null}})", 0, {"", ""}},
        AddressAnswer{"NullExternal", R"({"externalIpInfo": null})", 0, {}},
        AddressAnswer{"NoExternal", R"({"internalIpInfo": {"floatIp": "10.0.0.1"}})", -1, {}},
        AddressAnswer{"NullInfo", "null", -1, {}}, AddressAnswer{"InfoIsAText", "\"externalIpInfo\"", -1, {}},
        AddressAnswer{"InfoIsAList", "[]", -1, {}},
        AddressAnswer{"ExternalIsAText", R"({"externalIpInfo": "10.0.0.1"})", -1, {}, true},
        AddressAnswer{"ExternalIsAList", R"({"externalIpInfo": ["10.0.0.1"]})", -1, {}, true},
        AddressAnswer{"AddressIsAList",
                      R"({"externalIpInfo": {"floatIp": "10.0.0.1", "standbyIp": [], "activeIp": "10.0.0.3"}})",
                      -1,
                      {"10.0.0.1"},
                      true}),
    [](const auto& row) { return row.param.name; });

TEST_F(NimbRestApiManagementIpsTest, GetManagementIPAsksAResourceWithoutAVersion)
{
    m_http.Next(Body(R"({"result": 0, "manageIpInfo": {"externalIpInfo": {}}})"));
    EXPECT_EQ(0, m_api->GetManagementIP(m_ips, m_errorText));
    ASSERT_THAT(m_http.Lines(), ElementsAre("GET https://10.0.0.9:28443/lumeda/service/cluster/managerip/query"));
    EXPECT_EQ("", m_http.Requests().front().body);
    EXPECT_THAT(m_http.Requests().front().headers, SizeIs(7));
    EXPECT_THAT(
        m_log.Lines(),
        ElementsAre(Line("GetManagementIP", 1, "Enter GetManagementIP"), Line("SendRequest", 1, "Enter SendRequest"),
                    Line("SendRequest", 1, "try send request, times is  0"), Line("SendRequest", 2, "Send request ok."),
                    Line("SendRequest", 1, "End SendRequest"), Line("GetManagementIP", 2, "Exit GetManagementIP "),
                    Line("GetManagementIP", 1, "End GetManagementIP")));
}

TEST_F(NimbRestApiManagementIpsTest, GetManagementIPOfAnAnswerThatTellsNothingSucceedsWithNone)
{
    m_http.Next(Body(R"({"result": 0})"));
    EXPECT_EQ(0, m_api->GetManagementIP(m_ips, m_errorText));
    EXPECT_THAT(m_ips, ElementsAre("before"));
    std::vector<LineMatcher> lines = Sent();
    lines.push_back(Line("GetManagementIP", 4, "get manage ip failed."));
    EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
}

TEST_F(NimbRestApiManagementIpsTest, GetManagementIPThatIsRefusedTellsWhyAndSucceedsWithNone)
{
    m_http.Next(Body(R"({"result": 1, "detail": [{"errorCode": 5, "description": "refused"}],
                         "manageIpInfo": {"externalIpInfo": {"floatIp": "10.0.0.1"}}})"));
    EXPECT_EQ(0, m_api->GetManagementIP(m_ips, m_errorText));
    EXPECT_THAT(m_ips, ElementsAre("before"));
    EXPECT_EQ("refused", m_errorText);
    EXPECT_THAT(m_log.Told().back(), Line("GetManagementIP", 4, "get manage ip failed.refused"));
}

TEST_F(NimbRestApiManagementIpsTest, GetManagementIPAfterFourFailedAttemptsGivesTheLastOnesResult)
{
    m_http.Always("GET", "", NetworkError("no route"));
    EXPECT_EQ(200000, m_api->GetManagementIP(m_ips, m_errorText));
    EXPECT_THAT(m_ips, ElementsAre("before"));
    EXPECT_EQ("no route", m_errorText);
    EXPECT_THAT(m_http.Requests(), SizeIs(4));
    EXPECT_THAT(m_log.Told().back(), Line("GetManagementIP", 4, "get manage ip failed.no route"));
}

} // namespace

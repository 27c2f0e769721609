#include "tests/unit/rest/nimb_rest_test.h"

#include "common/json_text.h"

using ::testing::ElementsAreArray;

namespace {

/// A body and all that comes of it. Before, the error text is "untouched", the code 99 and the data "unchanged".
struct BodyCase {
    const char* name;
    std::string body;
    int result = 0;
    std::string errorText = "untouched";
    int errorCode = 99;
    std::string data = "\"unchanged\"";
    std::vector<std::string> lines = {}; ///< all at level 4
};

void PrintTo(const BodyCase& row, std::ostream* out)
{
    *out << row.body;
}

std::string CaseName(const ::testing::TestParamInfo<BodyCase>& row)
{
    return row.param.name;
}

class NimbBodyTest : public NimbRestTest, public ::testing::WithParamInterface<BodyCase> {
protected:
    using Parser = int (NimbRestApi::*)(const std::string&, Json::Value&, std::string&, int&);

    void Expect(const std::string& operation, Parser parse)
    {
        Json::Value data = "unchanged";
        int errorCode = 99;
        EXPECT_EQ(GetParam().result, (m_api.get()->*parse)(GetParam().body, data, m_errorText, errorCode));
        EXPECT_EQ(GetParam().errorText, m_errorText);
        EXPECT_EQ(GetParam().errorCode, errorCode);
        EXPECT_EQ(GetParam().data, JsonText::Write(data, JsonText::Style::Compact));
        std::vector<LineMatcher> lines;
        for (const std::string& text : GetParam().lines) {
            lines.push_back(Line(operation, 4, text));
        }
        EXPECT_THAT(m_log.Lines(), ElementsAreArray(lines));
    }
};

const std::string UNCHANGED = "\"unchanged\"";
const std::string MALFORMED = "Json object format is error. ";

BodyCase NoJson(const char* name, const std::string& body)
{
    return {name, body, -1, "Parse json string failed", 99, UNCHANGED, {"Parse json string failed."}};
}

// ---- V1

class NimbBodyV1Test : public NimbBodyTest {};

TEST_P(NimbBodyV1Test, ParseBodyV1)
{
    Expect("ParseBodyV1", &NimbRestApi::ParseBodyV1);
}

BodyCase MalformedV1(const char* name, const std::string& body)
{
    return {name, body, -1, MALFORMED, 99, UNCHANGED, {"Json object error."}};
}

INSTANTIATE_TEST_SUITE_P(Success, NimbBodyV1Test,
                         ::testing::Values(BodyCase{"Zero", R"({"result": 0, "sn": "1"})", 0, "", 0,
                                                    R"({"result":0,"sn":"1"})"},
                                           BodyCase{"Three", R"({"result": 3, "errorCode": "5"})", 0, "", 0,
                                                    R"({"errorCode":"5","result":3})"},
                                           BodyCase{"Negative", R"({"result": -1})", 0, "", 0, R"({"result":-1})"},
                                           BodyCase{"DetailIsNotLookedAt", R"({"result": 0, "detail": 7})", 0, "", 0,
                                                    R"({"detail":7,"result":0})"}),
                         CaseName);

INSTANTIATE_TEST_SUITE_P(
    Details, NimbBodyV1Test,
    ::testing::Values(
        BodyCase{"One",
                 R"({"result": 1, "detail": [{"errorCode": 5, "description": "five"}]})",
                 -1,
                 "five",
                 5,
                 UNCHANGED,
                 {"code : 5, Describe : five"}},
        BodyCase{
            "LastOfTwo",
            R"({"result": 1, "detail": [{"errorCode": 5, "description": "five"}, {"errorCode": -6, "description": "six"}]})",
            -1,
            "six",
            -6,
            UNCHANGED,
            {"code : 5, Describe : five", "code : -6, Describe : six"}},
        BodyCase{"EmptyList", R"({"result": 1, "detail": []})", -1}, BodyCase{"NoList", R"({"result": 1})", -1},
        BodyCase{"NullList", R"({"result": 1, "detail": null})", -1},
        BodyCase{"TopLevelIsNotLookedAt", R"({"result": 1, "errorCode": "5", "description": "five"})", -1},
        BodyCase{"EmptyElement", R"({"result": 1, "detail": [{}]})", -1, "", 0, UNCHANGED, {"code : 0, Describe : "}},
        BodyCase{"NullMembers",
                 R"({"result": 1, "detail": [{"errorCode": null, "description": null}]})",
                 -1,
                 "",
                 0,
                 UNCHANGED,
                 {"code : 0, Describe : "}},
        BodyCase{"DescriptionIsANumber",
                 R"({"result": 1, "detail": [{"errorCode": 5, "description": 55}]})",
                 -1,
                 "55",
                 5,
                 UNCHANGED,
                 {"code : 5, Describe : 55"}},
        MalformedV1("ListIsAnObject", R"({"result": 1, "detail": {"errorCode": 5}})"),
        MalformedV1("ListIsAText", R"({"result": 1, "detail": "x"})"),
        MalformedV1("ElementIsAText", R"({"result": 1, "detail": ["x"]})"),
        MalformedV1("ElementIsNull", R"({"result": 1, "detail": [null]})"),
        MalformedV1("CodeIsAText", R"({"result": 1, "detail": [{"errorCode": "5", "description": "five"}]})"),
        MalformedV1("CodeIsTooLarge", R"({"result": 1, "detail": [{"errorCode": 4294967296, "description": ""}]})"),
        MalformedV1("DescriptionIsAnObject", R"({"result": 1, "detail": [{"errorCode": 5, "description": {}}]})"),
        BodyCase{"GoodThenBad",
                 R"({"result": 1, "detail": [{"errorCode": 5, "description": "five"}, 6]})",
                 -1,
                 MALFORMED,
                 5,
                 UNCHANGED,
                 {"code : 5, Describe : five", "Json object error."}}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    TopLevel, NimbBodyV1Test,
    ::testing::Values(BodyCase{"Text",
                               R"({"result": 2, "errorCode": "5", "description": "five"})",
                               -1,
                               "five",
                               5,
                               UNCHANGED,
                               {"code : 5, Describe : five"}},
                      BodyCase{"Negative",
                               R"({"result": 2, "errorCode": "-401", "description": "x"})",
                               -1,
                               "x",
                               -401,
                               UNCHANGED,
                               {"code : -401, Describe : x"}},
                      BodyCase{"Number",
                               R"({"result": 2, "errorCode": 5, "description": "five"})",
                               -1,
                               "five",
                               5,
                               UNCHANGED,
                               {"code : 5, Describe : five"}},
                      BodyCase{"NoNumber",
                               R"({"result": 2, "errorCode": "five", "description": "five"})",
                               -1,
                               "five",
                               0,
                               UNCHANGED,
                               {"code : 0, Describe : five"}},
                      BodyCase{"NumberAndMore",
                               R"({"result": 2, "errorCode": " 12abc", "description": ""})",
                               -1,
                               "",
                               12,
                               UNCHANGED,
                               {"code : 12, Describe : "}},
                      BodyCase{"Nothing", R"({"result": 2})", -1, "", 0, UNCHANGED, {"code : 0, Describe : "}},
                      BodyCase{"DetailIsNotLookedAt",
                               R"({"result": 2, "detail": [{"errorCode": 5, "description": "five"}]})",
                               -1,
                               "",
                               0,
                               UNCHANGED,
                               {"code : 0, Describe : "}},
                      MalformedV1("CodeIsAList", R"({"result": 2, "errorCode": [], "description": "five"})"),
                      MalformedV1("DescriptionIsAnObject", R"({"result": 2, "errorCode": "5", "description": {}})")),
    CaseName);

INSTANTIATE_TEST_SUITE_P(Broken, NimbBodyV1Test,
                         ::testing::Values(NoJson("Empty", ""), NoJson("Html", "<html>"),
                                           MalformedV1("NoResult", R"({"sn": "1"})"),
                                           MalformedV1("ResultIsAText", R"({"result": "0"})"),
                                           MalformedV1("ResultIsNull", R"({"result": null})"),
                                           MalformedV1("ResultIsAnObject", R"({"result": {"code": 0}})"),
                                           MalformedV1("RootIsAList", R"([{"result": 0}])"),
                                           MalformedV1("RootIsNull", "null")),
                         CaseName);

// ---- V2

class NimbBodyV2Test : public NimbBodyTest {};

TEST_P(NimbBodyV2Test, ParseBodyV2)
{
    Expect("ParseBodyV2", &NimbRestApi::ParseBodyV2);
}

BodyCase MalformedV2(const char* name, const std::string& body)
{
    return {name, body, -1, MALFORMED, 99, UNCHANGED, {"Json object error. "}};
}

INSTANTIATE_TEST_SUITE_P(
    Success, NimbBodyV2Test,
    ::testing::Values(
        BodyCase{"Object", R"({"data": {"a": 1}, "result": {"code": 0, "description": "fine"}})", 0, "fine", 0,
                 R"({"a":1})"},
        BodyCase{"List", R"({"data": [1], "result": {"code": 0, "description": ""}})", 0, "", 0, "[1]"},
        BodyCase{"NullData", R"({"data": null, "result": {"code": 0, "description": ""}})", 0, "", 0, "null"},
        BodyCase{"NoData", R"({"result": {"code": 0, "description": "fine"}})", 0, "fine", 0, UNCHANGED},
        BodyCase{"DescriptionIsANumber", R"({"result": {"code": 0, "description": 0}})", 0, "0", 0, UNCHANGED}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Refusal, NimbBodyV2Test,
    ::testing::Values(BodyCase{"Positive",
                               R"({"data": {"a": 1}, "result": {"code": 5, "description": "five"}})",
                               -1,
                               "five",
                               5,
                               UNCHANGED,
                               {"code : 5, Describe : five"}},
                      BodyCase{"Negative",
                               R"({"result": {"code": -401, "description": "x"}})",
                               -1,
                               "x",
                               -401,
                               UNCHANGED,
                               {"code : -401, Describe : x"}}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Broken, NimbBodyV2Test,
    ::testing::Values(NoJson("Empty", ""), NoJson("Html", "<html>"), MalformedV2("NoResult", R"({"data": {}})"),
                      MalformedV2("NoCode", R"({"result": {"description": ""}})"),
                      MalformedV2("NoDescription", R"({"result": {"code": 0}})"),
                      MalformedV2("ResultIsANumber", R"({"result": 0, "data": {}})"),
                      MalformedV2("CodeIsAText", R"({"result": {"code": "0", "description": ""}})"),
                      MalformedV2("DescriptionIsAList", R"({"result": {"code": 0, "description": []}})"),
                      MalformedV2("RootIsAList", "[]"), MalformedV2("RootIsNull", "null")),
    CaseName);

} // namespace

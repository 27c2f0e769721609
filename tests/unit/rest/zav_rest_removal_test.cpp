#include "tests/unit/rest/rest_test.h"
#include "tests/unit/rest/zav_rest_operations.h"

#include <algorithm>
#include <tuple>

using ::testing::Combine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ValuesIn;

namespace {

/// What a removal takes for done.
struct Gone {
    std::string operation;
    int code;
    std::string message;
};

const std::vector<Gone>& GoneTable()
{
    static const std::vector<Gone> table = {
        {"RemoveHostGroup", 1073804552, "The HostGroup has not been in the mapView!"},
        {"RemoveLunGroup", 1073804554, "The LunGroup has not been in the mapView!"},
        {"DeleteMapView", 1077951819, "The MapView has not been exist!"},
        {"RemoveHost", 1073745412, "The specified host has not been in the hostgroup!"},
        {"DeleteHostGroup", 1077937500, "The specified host group has not been exist!"},
        {"DeleteLunGroup", 1077936861, "The specified lun group has not been exist!"},
        {"DeleteHost", 1077937498, "The specified host has not been exist!"},
        {"RemoveIscsiInitiator", 1077950342, "The iscsiInitiator want to remove not exist on the host!"},
        {"RemoveFCInitiator", 1077950342, "The fcInitiator want to remove not exist on the host!"},
    };
    return table;
}

std::vector<int> GoneCodes()
{
    std::vector<int> codes = {1077948996}; // a group's member that is gone: done for none of them
    for (const Gone& gone : GoneTable()) {
        if (std::find(codes.begin(), codes.end(), gone.code) == codes.end()) {
            codes.push_back(gone.code);
        }
    }
    return codes;
}

class ZavRestApiGoneTest : public LoggedInRestTest,
                           public ::testing::WithParamInterface<std::tuple<RestOperation, int>> {
protected:
    Outputs m_out;
};

TEST_P(ZavRestApiGoneTest, OnlyTheCodeOfTheOperationItselfCountsAsDone)
{
    const auto& [operation, code] = GetParam();
    m_http.Next(ArrayError(code, "gone"));
    const int result = operation.run(m_api, m_out, m_errorText);
    EXPECT_EQ("gone", m_errorText);

    const auto row = std::find_if(GoneTable().begin(), GoneTable().end(),
                                  [&name = operation.name](const Gone& gone) { return gone.operation == name; });
    const LineMatcher refusal = Line("ParseRsp", 4, "code : " + std::to_string(code) + ", Describe : gone");
    if (row != GoneTable().end() && row->code == code) {
        EXPECT_EQ(0, result);
        EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), refusal, Line(operation.name, 2, row->message)));
    } else if (!operation.failed.empty()) {
        EXPECT_EQ(code, result);
        EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), refusal,
                                              Line(operation.name, 4, operation.name + " failed! reason: gone")));
    } else {
        EXPECT_EQ(code, result);
        EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), refusal));
    }
}

std::string GoneCaseName(const ::testing::TestParamInfo<std::tuple<RestOperation, int>>& row)
{
    return std::get<0>(row.param).name + "On" + std::to_string(std::get<1>(row.param));
}

INSTANTIATE_TEST_SUITE_P(Removals, ZavRestApiGoneTest, Combine(ValuesIn(RemovalOperations()), ValuesIn(GoneCodes())),
                         GoneCaseName);
INSTANTIATE_TEST_SUITE_P(MemberRemovals, ZavRestApiGoneTest,
                         Combine(ValuesIn(MemberRemovalOperations()), ValuesIn(GoneCodes())), GoneCaseName);

class ZavRestApiRemovalTest : public LoggedInRestTest, public ::testing::WithParamInterface<RestOperation> {
protected:
    Outputs m_out;
};

TEST_P(ZavRestApiRemovalTest, SuccessIsSilentAndChangesNothing)
{
    m_http.Next(NoData().WithCookie("session=c2"));
    EXPECT_EQ(0, GetParam().run(m_api, m_out, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_EQ("before", m_out.text);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine()));
}

TEST_P(ZavRestApiRemovalTest, AnAnswerWithoutACookieFailsWhereOneIsTaken)
{
    m_http.Next(NoData());
    const int result = GetParam().run(m_api, m_out, m_errorText);
    EXPECT_EQ("untouched", m_errorText);
    if (GetParam().parsesCookie) {
        EXPECT_EQ(-1, result);
        EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line("ParseCookie", 4, "Cookie is empty."),
                                              Line(GetParam().name, 4, GetParam().failed + "untouched")));
    } else {
        EXPECT_EQ(0, result);
        EXPECT_THAT(m_log.Told(), ElementsAre(CountLine()));
    }
}

INSTANTIATE_TEST_SUITE_P(Removals, ZavRestApiRemovalTest, ValuesIn(RemovalOperations()),
                         [](const auto& row) { return row.param.name; });
INSTANTIATE_TEST_SUITE_P(MemberRemovals, ZavRestApiRemovalTest, ValuesIn(MemberRemovalOperations()),
                         [](const auto& row) { return row.param.name; });

class ZavRestApiRemovalBodyTest : public LoggedInRestTest {};

TEST_F(ZavRestApiRemovalBodyTest, AnInitiatorsNameIsQuotedInTheBody)
{
    m_http.Next(NoData().WithCookie("session=c2"));
    EXPECT_EQ(0, m_api.RemoveIscsiInitiator("iqn.\"a\\b\"\n", m_errorText));
    EXPECT_EQ("{\n\t\"ID\" : \"iqn.\\\"a\\\\b\\\"\\n\",\n\t\"TYPE\" : \"222\"\n}", m_http.Requests().front().body);
}

TEST_F(ZavRestApiRemovalBodyTest, TheNextRequestBearsTheCookieOfTheRemoval)
{
    m_http.Next(NoData().WithCookie("session=c2; Path=/"));
    ASSERT_EQ(0, m_api.RemoveLunGroup("3", "5", m_errorText));
    m_http.Next(NoData().WithCookie("session=c3"));
    ASSERT_EQ(0, m_api.RemoveHostGroup("4", "5", m_errorText));
    EXPECT_EQ("session=c2", m_http.Requests().back().headers.begin()->second);
}

} // namespace

// What the array client's operations that read a list have in common.

#include "tests/unit/rest/rest_test.h"
#include "tests/unit/rest/zav_rest_operations.h"

#include <algorithm>
#include <set>
#include <tuple>

using ::testing::Combine;
using ::testing::ElementsAreArray;
using ::testing::ValuesIn;

namespace {

std::vector<RestOperation> OperationsOf(const std::set<std::string>& names)
{
    std::vector<RestOperation> operations = AllOperations();
    const auto isOther = [&names](const RestOperation& operation) { return names.count(operation.name) == 0; };
    operations.erase(std::remove_if(operations.begin(), operations.end(), isOther), operations.end());
    return operations;
}

/// An answer that holds no record at all.
struct EmptyAnswer {
    std::string name;
    Answer answer;
    std::string reason = {}; ///< why it is unreadable; empty: it is none
};

void PrintTo(const EmptyAnswer& row, std::ostream* out)
{
    *out << row.name;
}

class ZavRestApiListTest : public LoggedInRestTest,
                           public ::testing::WithParamInterface<std::tuple<RestOperation, EmptyAnswer>> {
protected:
    Outputs m_out;
};

TEST_P(ZavRestApiListTest, AnAnswerWithoutRecordsAppendsNone)
{
    const auto& [operation, row] = GetParam();
    m_http.Next(row.answer);
    EXPECT_EQ(row.reason.empty() ? 0 : -1, operation.run(m_api, m_out, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_EQ(operation.clearsTexts ? 0U : 1U, m_out.texts.size());
    EXPECT_EQ(1U, m_out.pools.size());
    EXPECT_EQ(1U, m_out.luns.size());

    std::vector<LineMatcher> lines = {CountLine()};
    if (!operation.opening.empty()) {
        lines.insert(lines.begin(), Line(operation.name, 1, operation.opening));
    }
    if (!row.reason.empty()) {
        const std::string words = operation.name == "GetAllManagementV4IPs"
                                      ? "Throw a exception when try to query management IPV4:"
                                      : "Throw a exception.";
        lines.push_back(Line(operation.name, 4, words + row.reason));
    }
    EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
}

const char* const NO_LIST = "the answer's data is not a list";

INSTANTIATE_TEST_SUITE_P(
    Each, ZavRestApiListTest,
    Combine(ValuesIn(OperationsOf({"GetAllManagementV4IPs", "GetAllHostIDFromHostGroup", "GetAllStoragePool",
                                   "GetFCInitiator", "GetIscsiInitiator", "GetLunListByPage", "GetStorageIP"})),
            ::testing::Values(EmptyAnswer{"EmptyList", Data("[]")}, EmptyAnswer{"NoData", NoData()},
                              EmptyAnswer{"Null", Data("null")}, EmptyAnswer{"EmptyObject", Data("{}")},
                              EmptyAnswer{"Object", Data(R"({"ID": "1"})"), NO_LIST},
                              EmptyAnswer{"Text", Data("\"ID\""), NO_LIST}, EmptyAnswer{"Number", Data("0"), NO_LIST})),
    [](const auto& row) { return std::get<0>(row.param).name + std::get<1>(row.param).name; });

// ---- lists of texts: an element that is null has no member, and gives none

class ZavRestApiNullElementTest : public LoggedInRestTest, public ::testing::WithParamInterface<RestOperation> {
protected:
    Outputs m_out;
};

TEST_P(ZavRestApiNullElementTest, ANullElementIsSkipped)
{
    Tells(R"([null, {"ID": "7", "IPV4ADDR": "7"}, null])");
    EXPECT_EQ(0, GetParam().run(m_api, m_out, m_errorText));
    EXPECT_EQ("7", m_out.texts.back());
    EXPECT_EQ(GetParam().clearsTexts ? 1U : 2U, m_out.texts.size());
}

INSTANTIATE_TEST_SUITE_P(Each, ZavRestApiNullElementTest,
                         ValuesIn(OperationsOf({"GetAllManagementV4IPs", "GetStorageIP", "GetIscsiInitiator",
                                                "GetFCInitiator", "GetAllHostIDFromHostGroup"})),
                         [](const auto& row) { return row.param.name; });

class ZavRestApiNullMemberTest : public ZavRestApiNullElementTest {};

TEST_P(ZavRestApiNullMemberTest, ANullElementIsNoMemberOfALunGroup)
{
    Tells(R"([{"ID": "7"}, null])");
    EXPECT_EQ(-1, GetParam().run(m_api, m_out, m_errorText));
    EXPECT_EQ("7", m_out.texts.back());
    EXPECT_THAT(m_log.Told().back(), Line(GetParam().name, 4, "The response param error."));
}

INSTANTIATE_TEST_SUITE_P(Each, ZavRestApiNullMemberTest,
                         ValuesIn(OperationsOf({"GetLunIdByLunGroup", "GetSnapshotIdByLunGroup"})),
                         [](const auto& row) { return row.param.name; });

} // namespace

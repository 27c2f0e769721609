#include "tests/unit/rest/rest_test.h"
#include "tests/unit/rest/zav_rest_operations.h"

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

namespace {

// ---- checks

/// A check of a name, as the operations of zav_rest_operations.h call it: id "7", expected name "name".
struct NameCheck {
    std::string name; ///< of the operation
    std::string mismatch;
    std::string current = {}; ///< between the two names behind it; empty: neither is told
};

void PrintTo(const NameCheck& row, std::ostream* out)
{
    *out << row.name;
}

class ZavRestApiNameCheckTest : public LoggedInRestTest, public ::testing::WithParamInterface<NameCheck> {
protected:
    int Check()
    {
        for (const RestOperation& operation : CheckAndListOperations()) {
            if (operation.name == GetParam().name) {
                return operation.run(m_api, m_out, m_errorText);
            }
        }
        ADD_FAILURE() << "no operation " << GetParam().name;
        return 1;
    }

    Outputs m_out;
};

TEST_P(ZavRestApiNameCheckTest, TheExpectedNameMatches)
{
    Tells(R"({"NAME": "name", "ISADD2HOSTGROUP": "false"})");
    EXPECT_EQ(0, Check());
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine()));
}

TEST_P(ZavRestApiNameCheckTest, AnotherNameMismatchesEvenInLetterCaseOrBlanks)
{
    for (const std::string current : {"Name", "name ", "", "names"}) {
        m_log.Clear();
        Tells(R"({"NAME": ")" + current + R"(", "ISADD2HOSTGROUP": "true"})");
        EXPECT_EQ(-2, Check());
        EXPECT_EQ("untouched", m_errorText);
        EXPECT_FALSE(m_out.flag);
        const std::string names = GetParam().current.empty() ? "" : "name" + GetParam().current + current;
        EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line(GetParam().name, 4, GetParam().mismatch + names)));
    }
}

TEST_P(ZavRestApiNameCheckTest, AnAnswerWithoutANameFails)
{
    for (const std::string data : {"{}", R"({"name": "name"})", R"({"NAME": {}})", R"([{"NAME": "name"}])", "null"}) {
        m_log.Clear();
        Tells(data);
        EXPECT_EQ(-1, Check()) << data;
        EXPECT_EQ("untouched", m_errorText);
        EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line(GetParam().name, 4, "The response param error.")));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZavRestApiNameCheckTest,
    ::testing::Values(NameCheck{"CheckLunGroup", "The lungroupID is not match the lungroupName!"},
                      NameCheck{"CheckHost", "The hostID is not match the hostName!", "current host Name:"},
                      NameCheck{"CheckHostGroup", "The hostgroupID is not match the hostgroupName!",
                                "current hostgroup name:"},
                      NameCheck{"CheckMapView", "The mapViewID is not match the mapViewName!", "current name:"}),
    [](const auto& row) { return row.param.name; });

struct Membership {
    const char* name;
    const char* json; ///< of ISADD2HOSTGROUP
    int result;
    bool isAdded; ///< afterwards; before it is false
    std::vector<std::pair<int, std::string>> lines;
};

void PrintTo(const Membership& row, std::ostream* out)
{
    *out << row.name;
}

class ZavRestApiHostCheckTest : public LoggedInRestTest, public ::testing::WithParamInterface<Membership> {};

TEST_P(ZavRestApiHostCheckTest, CheckHostOnlyEverSetsTheFlag)
{
    std::vector<LineMatcher> lines = {CountLine()};
    for (const auto& [level, text] : GetParam().lines) {
        lines.push_back(Line("CheckHost", level, text));
    }
    for (const bool before : {false, true}) {
        m_log.Clear();
        bool isAdded = before;
        Tells(R"({"NAME": "host")" + std::string(GetParam().json) + "}");
        EXPECT_EQ(GetParam().result, m_api.CheckHost("7", "host", m_errorText, isAdded));
        EXPECT_EQ(before || GetParam().isAdded, isAdded);
        EXPECT_EQ("untouched", m_errorText);
        EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ZavRestApiHostCheckTest,
    ::testing::Values(Membership{"True", R"(, "ISADD2HOSTGROUP": "true")", 0, true, {{2, "ISADD2HOSTGROUP: true"}}},
                      Membership{"Truth", R"(, "ISADD2HOSTGROUP": true)", 0, true, {{2, "ISADD2HOSTGROUP: true"}}},
                      Membership{"False", R"(, "ISADD2HOSTGROUP": "false")", 0, false, {}},
                      Membership{"Capitals", R"(, "ISADD2HOSTGROUP": "TRUE")", 0, false, {}},
                      Membership{"Empty", R"(, "ISADD2HOSTGROUP": "")", 0, false, {}},
                      Membership{"Missing", "", -1, false, {{2, "The response param error."}}},
                      Membership{"List", R"(, "ISADD2HOSTGROUP": [])", -1, false, {{2, "The response param error."}}}),
    [](const auto& row) { return row.param.name; });

class ZavRestApiMappingTest : public LoggedInRestTest {};

TEST_F(ZavRestApiMappingTest, IsOnlineFCInitiatorIsSoWithStatus27)
{
    Tells(R"({"RUNNINGSTATUS": "27"})");
    EXPECT_EQ(0, m_api.IsOnlineFCInitiator("2100abcd", m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine()));
}

TEST_F(ZavRestApiMappingTest, IsOnlineFCInitiatorTellsAnyOtherStatus)
{
    for (const std::string status : {"28", "", "027", "online"}) {
        m_log.Clear();
        Tells(R"({"RUNNINGSTATUS": ")" + status + "\"}");
        EXPECT_EQ(-1, m_api.IsOnlineFCInitiator("2100abcd", m_errorText));
        EXPECT_EQ("untouched", m_errorText);
        EXPECT_THAT(m_log.Told(),
                    ElementsAre(CountLine(), Line("IsOnlineFCInitiator", 4,
                                                  "the fc initiator is not online. runingstatus is " + status)));
    }
}

TEST_F(ZavRestApiMappingTest, IsOnlineFCInitiatorWithoutAStatusFails)
{
    for (const std::string data : {"{}", R"({"RUNNINGSTATUS": ["27"]})", "[]", "null"}) {
        m_log.Clear();
        Tells(data);
        EXPECT_EQ(-1, m_api.IsOnlineFCInitiator("2100abcd", m_errorText));
        EXPECT_THAT(m_log.Told(),
                    ElementsAre(CountLine(), Line("IsOnlineFCInitiator", 4, "The response param error.")));
    }
}

// ---- a LUN group's members

struct MemberAnswer {
    const char* name;
    const char* data;
    int result;
    std::vector<std::string> ids; ///< behind the one that was there
    int level;                    ///< of the line; 0: none
    const char* line;
};

void PrintTo(const MemberAnswer& row, std::ostream* out)
{
    *out << row.data;
}

class ZavRestApiGroupMembersTest : public LoggedInRestTest, public ::testing::WithParamInterface<MemberAnswer> {
protected:
    template <typename Read>
    void Expect(const std::string& operation, const Read& read)
    {
        std::vector<std::string> expected = {"before"};
        expected.insert(expected.end(), GetParam().ids.begin(), GetParam().ids.end());
        std::vector<LineMatcher> lines = {CountLine()};
        if (GetParam().level != 0) {
            lines.push_back(Line(operation, GetParam().level, GetParam().line));
        }
        m_log.Clear();
        Tells(GetParam().data);
        std::vector<std::string> ids = {"before"};
        EXPECT_EQ(GetParam().result, read(ids));
        EXPECT_EQ("untouched", m_errorText);
        EXPECT_THAT(ids, ElementsAreArray(expected));
        EXPECT_THAT(m_log.Told(), ElementsAreArray(lines));
    }
};

TEST_P(ZavRestApiGroupMembersTest, LunsAndSnapshotsAreReadUpToTheFirstWithoutAnId)
{
    Expect("GetLunIdByLunGroup",
           [this](std::vector<std::string>& ids) { return m_api.GetLunIdByLunGroup("256", ids, m_errorText); });
    Expect("GetSnapshotIdByLunGroup",
           [this](std::vector<std::string>& ids) { return m_api.GetSnapshotIdByLunGroup("256", ids, m_errorText); });
}

const char* const NO_LUN = "The LunGroup(256) has no LUN.";
const char* const NO_ID = "The response param error.";

INSTANTIATE_TEST_SUITE_P(
    Rows, ZavRestApiGroupMembersTest,
    ::testing::Values(MemberAnswer{"Two", R"([{"ID": "1"}, {"ID": "2"}])", 0, {"1", "2"}, 0, ""},
                      MemberAnswer{"Numbers", R"([{"ID": 1}])", 0, {"1"}, 0, ""},
                      MemberAnswer{"EmptyList", "[]", 0, {}, 0, ""},
                      MemberAnswer{"OneWithoutId", R"([{"ID": "1"}, {"NAME": "2"}, {"ID": "3"}])", -1, {"1"}, 4, NO_ID},
                      MemberAnswer{"IdIsAList", R"([{"ID": "1"}, {"ID": []}])", -1, {"1"}, 4, NO_ID},
                      MemberAnswer{"ElementIsAText", R"(["1"])", -1, {}, 4, NO_ID},
                      MemberAnswer{"NullData", "null", 0, {}, 1, NO_LUN},
                      MemberAnswer{"Object", R"({"ID": "1"})", 0, {}, 1, NO_LUN},
                      MemberAnswer{"Text", R"("1")", 0, {}, 1, NO_LUN}),
    [](const auto& row) { return row.param.name; });

TEST_F(ZavRestApiMappingTest, AGroupWithoutLunsOrSnapshotsHasNoData)
{
    std::vector<std::string> ids;
    m_http.Always("GET", "", NoData());
    EXPECT_EQ(0, m_api.GetLunIdByLunGroup("5", ids, m_errorText));
    EXPECT_EQ(0, m_api.GetSnapshotIdByLunGroup("6", ids, m_errorText));
    EXPECT_THAT(ids, IsEmpty());
    EXPECT_THAT(m_log.Told(),
                ElementsAre(CountLine(), Line("GetLunIdByLunGroup", 1, "The LunGroup(5) has no LUN."), CountLine(),
                            Line("GetSnapshotIdByLunGroup", 1, "The LunGroup(6) has no LUN.")));
}

// ---- a host's initiators and a host group's hosts

TEST_F(ZavRestApiMappingTest, GetIscsiInitiatorAndGetFCInitiatorAppendTheIdsSilently)
{
    std::vector<std::string> ids = {"before"};
    Tells(R"([{"ID": "iqn.a"}, {"NAME": "no id"}, {"ID": "iqn.b"}])");
    EXPECT_EQ(0, m_api.GetIscsiInitiator(ids, "7", m_errorText));
    Tells(R"([{"ID": "2100"}])");
    EXPECT_EQ(0, m_api.GetFCInitiator(ids, "7", m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(ids, ElementsAre("before", "iqn.a", "iqn.b", "2100"));
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), CountLine()));
}

TEST_F(ZavRestApiMappingTest, GetIscsiInitiatorAndGetFCInitiatorKeepTheIdsBeforeABadOne)
{
    std::vector<std::string> ids;
    m_http.Always("GET", "", Data(R"([{"ID": "a"}, {"ID": {}}, {"ID": "b"}])"));
    EXPECT_EQ(-1, m_api.GetIscsiInitiator(ids, "7", m_errorText));
    EXPECT_EQ(-1, m_api.GetFCInitiator(ids, "7", m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(ids, ElementsAre("a", "a"));
    const std::string text = "Throw a exception.ID is not a text";
    EXPECT_THAT(m_log.Told(), ElementsAre(CountLine(), Line("GetIscsiInitiator", 4, text), CountLine(),
                                          Line("GetFCInitiator", 4, text)));
}

TEST_F(ZavRestApiMappingTest, GetAllHostIDFromHostGroupAppendsTheIdsAndTellsEach)
{
    std::vector<std::string> ids = {"before"};
    Tells(R"([{"ID": "1"}, {"NAME": "no id"}, {"ID": "2"}])");
    EXPECT_EQ(0, m_api.GetAllHostIDFromHostGroup("14", ids, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(ids, ElementsAre("before", "1", "2"));
    EXPECT_THAT(m_log.Told(),
                ElementsAre(CountLine(), Line("GetAllHostIDFromHostGroup", 1, " HOST ID: 1, GROUP ID: 14"),
                            Line("GetAllHostIDFromHostGroup", 1, " HOST ID: 2, GROUP ID: 14")));
}

TEST_F(ZavRestApiMappingTest, GetAllHostIDFromHostGroupKeepsTheIdsBeforeABadOne)
{
    std::vector<std::string> ids;
    Tells(R"([{"ID": "1"}, 2])");
    EXPECT_EQ(-1, m_api.GetAllHostIDFromHostGroup("14", ids, m_errorText));
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(ids, ElementsAre("1"));
    EXPECT_THAT(m_log.Told(),
                ElementsAre(CountLine(), Line("GetAllHostIDFromHostGroup", 1, " HOST ID: 1, GROUP ID: 14"),
                            Line("GetAllHostIDFromHostGroup", 4,
                                 "Throw a exception.element is not an object, looking for ID")));
}

} // namespace

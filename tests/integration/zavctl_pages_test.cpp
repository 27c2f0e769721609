#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <json/writer.h>

#include <algorithm>
#include <numeric>

using ::testing::HasSubstr;

namespace {

/// An array that gives its lists in other pages than it is asked for, or whose objects change from one to the next.
class ZavctlPagesTest : public Stage {
protected:
    static constexpr unsigned int LUNS = 1203;
    static constexpr unsigned int PAGE = 500;

    ZavctlPagesTest()
        : m_array(StartArray(WithLuns()))
        , m_env(EnvironmentFileOf(m_array))
    {
    }

    static ArrayOptions WithLuns()
    {
        ArrayOptions options;
        options.further = {"--luns", std::to_string(LUNS)};
        return options;
    }

    Json::Value Rows(const std::string& kind, unsigned int begin, unsigned int end) const
    {
        const std::string range = "[" + std::to_string(begin) + "-" + std::to_string(end) + "]";
        return m_array.Operate("GET", kind + "?range=" + range, "");
    }

    /// From now on this is the data of each answer to requests whose target fits.
    void Give(const std::string& target, const Json::Value& data) const
    {
        Json::Value fault;
        fault["kind"] = "answer";
        fault["answer"]["error"]["code"] = 0;
        fault["answer"]["error"]["description"] = "0";
        fault["answer"]["data"] = data;
        fault["target"] = target;
        fault["count"] = 0;
        m_array.AddFault(Json::writeString(Json::StreamWriterBuilder(), fault));
    }

    /// The same of a page, by where it begins.
    void GivePage(const std::string& kind, unsigned int begin, const Json::Value& rows) const
    {
        Give(kind + "\\?range=\\[" + std::to_string(begin) + "-", rows);
    }

    void GiveCount(const std::string& count) const
    {
        Json::Value data;
        data["COUNT"] = count;
        Give("lun/count", data);
    }

    /// Both commands that list LUNs tell of these, in this order, and whether they are all. A list that may lack some
    /// has a warning, and is no failure.
    void ExpectLuns(const std::vector<unsigned int>& ids, bool isComplete) const
    {
        for (const char* const command : {"luns", "inventory"}) {
            const Base::ProgramResult outcome = RunZavctl({command, "--env", m_env, "-q", "-o", "json"});
            EXPECT_EQ(0, outcome.status) << outcome.errors;
            const Json::Value answer = ParseJsonText(outcome.output);
            std::vector<unsigned int> told;
            for (const Json::Value& lun : answer["luns"]) {
                told.push_back(lun["id"].asUInt());
            }
            EXPECT_EQ(ids, told) << command;
            EXPECT_EQ(isComplete, answer["complete"].asBool()) << command;
            EXPECT_THAT(outcome.errors, isComplete ? ::testing::Matcher<std::string>("")
                                                   : HasSubstr(" LUNs and gave " + std::to_string(ids.size()) +
                                                               ": the list may lack some\n"))
                << command;
        }
    }

    static std::vector<unsigned int> Numbers(unsigned int begin, unsigned int end)
    {
        std::vector<unsigned int> numbers(end - begin);
        std::iota(numbers.begin(), numbers.end(), begin);
        return numbers;
    }

    /// How many pages of a list were asked for.
    std::size_t Pages(const std::string& kind) const
    {
        const std::vector<std::string> requests = m_array.Requests();
        const std::string start = "GET " + kind + "?range=";
        return static_cast<std::size_t>(std::count_if(
            requests.begin(), requests.end(), [&start](const std::string& each) { return each.rfind(start, 0) == 0; }));
    }

    void MakeHosts(const std::vector<std::string>& names) const
    {
        for (const std::string& name : names) {
            m_array.Operate("POST", "host", R"({"TYPE": "21", "NAME": ")" + name + "\"}");
        }
    }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlPagesTest, ArrayThatGivesFewerLunsAtOnceThanItIsAskedForLosesNone)
{
    constexpr unsigned int MOST = 400;
    for (unsigned int begin = 0; begin < LUNS; begin += MOST) {
        GivePage("lun", begin, Rows("lun", begin, begin + MOST));
    }
    ExpectLuns(Numbers(0, LUNS), true);
}

TEST_F(ZavctlPagesTest, PageThatIsEmptyInTheMiddleEndsAListThatIsNotComplete)
{
    GivePage("lun", PAGE, Json::Value(Json::arrayValue));
    ExpectLuns(Numbers(0, PAGE), false);
    const std::string warning =
        "zavctl: warning: " + m_array.Url() + ": the array counts 1203 LUNs and gave 500: the list may lack some\n";
    EXPECT_EQ(warning, RunZavctl({"luns", "--env", m_env, "-q", "--all"}).errors);
    EXPECT_EQ(warning, RunZavctl({"inventory", "--env", m_env, "-q"}).errors);
    EXPECT_THAT(RunZavctl({"luns", "--env", m_env, "-q", "--limit", "500"}).errors, HasSubstr(warning));
    EXPECT_EQ("zavctl: there are more; --all lists all\n",
              RunZavctl({"luns", "--env", m_env, "-q", "--limit", "3"}).errors)
        << "nobody wanted them";
}

TEST_F(ZavctlPagesTest, LunThatIsDeletedMeanwhileTakesAnotherOutOfTheList)
{
    GiveCount(std::to_string(LUNS));
    GivePage("lun", 0, Rows("lun", 0, PAGE));
    m_array.DeleteBehindBack("lun", "3");
    std::vector<unsigned int> ids = Numbers(0, LUNS);
    ids.erase(ids.begin() + PAGE); // which has moved onto the page that was read before
    ExpectLuns(ids, false);
}

TEST_F(ZavctlPagesTest, LunsThatComeTwiceAreToldOnce)
{
    const Json::Value second = Rows("lun", PAGE - 1, PAGE + PAGE - 1); // as when one was made in front of all
    const Json::Value third = Rows("lun", PAGE + PAGE - 1, LUNS);
    GivePage("lun", PAGE, second);
    GivePage("lun", PAGE + PAGE, third);
    ExpectLuns(Numbers(0, LUNS), true);
}

TEST_F(ZavctlPagesTest, SamePageAgainAndAgainEndsAListThatIsNotComplete)
{
    Give("lun\\?range", Rows("lun", 0, 100));
    m_array.ClearJournal();
    ExpectLuns(Numbers(0, 100), false);
    EXPECT_EQ(4U, Pages("lun")) << "two for each command";
}

TEST_F(ZavctlPagesTest, CountThatIsTooHighEndsAListThatIsNotComplete)
{
    GiveCount("18446744073709551615");
    m_array.ClearJournal();
    ExpectLuns(Numbers(0, LUNS), false);
    EXPECT_EQ(8U, Pages("lun")) << "four for each command, the last of them empty";
}

TEST_F(ZavctlPagesTest, CountThatIsTooLowIsNotTakenForTheEndOfAFullPage)
{
    GiveCount("3");
    ExpectLuns(Numbers(0, PAGE), false);
}

TEST_F(ZavctlPagesTest, LunsThatAreMadeMeanwhileBelongToTheList)
{
    GiveCount("1200");
    ExpectLuns(Numbers(0, LUNS), true);
}

TEST_F(ZavctlPagesTest, ArrayThatGivesFewerHostsAtOnceThanItIsAskedForLosesNone)
{
    MakeHosts({"one", "two", "six"});
    GivePage("host", 0, Rows("host", 0, 1));
    GivePage("host", 1, Rows("host", 1, 2));
    EXPECT_EQ("HOST  NAME  THIS NODE\n"
              "1     one   no\n"
              "2     two   no\n"
              "3     six   no\n",
              RunZavctl({"hosts", "--env", m_env, "-q"}).output);
}

TEST_F(ZavctlPagesTest, ArrayThatDoesNotLookWhichPageIsWantedListsEachHostOnce)
{
    MakeHosts({"first", "second"});
    Give("host\\?range", Rows("host", 0, 2));
    const Base::ProgramResult hosts = RunZavctl({"hosts", "--env", m_env, "-q"});
    EXPECT_EQ(0, hosts.status) << hosts.errors;
    EXPECT_EQ("HOST  NAME    THIS NODE\n"
              "1     first   no\n"
              "2     second  no\n",
              hosts.output);
}

TEST_F(ZavctlPagesTest, SameFullPageOfHostsAgainAndAgainIsAFailure)
{
    Json::Value rows;
    for (const unsigned int id : Numbers(0, 100)) {
        Json::Value& row = rows.append(Json::objectValue);
        row["ID"] = std::to_string(id);
        row["NAME"] = "host";
    }
    Give("host\\?range", rows);
    const Base::ProgramResult hosts = RunZavctl({"hosts", "--env", m_env, "-q", "--filter", "name=host", "--all"});
    EXPECT_EQ(9, hosts.status);
    EXPECT_THAT(hosts.errors, HasSubstr("the array gives the same page of its list again and again\n"));
}

TEST_F(ZavctlPagesTest, LeftoverOnALaterPageThanTheArrayWasAskedForIsFound)
{
    MakeHosts({"an operator's", "Vendrix_AAAAAAAAAAAAAAAAAAAAAA"});
    GivePage("host", 0, Rows("host", 0, 1));
    EXPECT_THAT(RunZavctl({"orphans", "--env", m_env, "-q"}).output, HasSubstr("host:2  "));
}

} // namespace

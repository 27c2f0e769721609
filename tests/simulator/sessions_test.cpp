#include "simulator/access/sessions.h"

#include "simulator/access/accounts.h"

#include <gtest/gtest.h>

namespace ZavSim {
namespace {

class SessionTableTest : public ::testing::Test {
protected:
    /// A copy, for tests that go on with the table.
    Session Open(const std::string& user) { return *table.Open(user); }
    bool CanUse(const Session& session) { return table.Use(session.token, {session.cookie}).has_value(); }

    SteadyTime now{std::chrono::seconds(100)};
    SessionTable table{{2, std::chrono::seconds(60)}, [this] { return now; }};
};

TEST_F(SessionTableTest, OpenGivesSecretsThatDiffer)
{
    const Session first = Open("admin");
    const Session second = Open("admin");
    EXPECT_EQ(1U, first.number);
    EXPECT_EQ(2U, second.number);
    EXPECT_EQ(48U, first.token.size());
    EXPECT_EQ(48U, first.cookie.size());
    EXPECT_NE(first.token, first.cookie);
    EXPECT_NE(first.token, second.token);
    EXPECT_NE(first.cookie, second.cookie);
}

TEST_F(SessionTableTest, UseNeedsTokenAndCookieOfTheSameLogin)
{
    const Session first = Open("a");
    const Session second = Open("b");
    EXPECT_EQ("a", table.Use(first.token, {first.cookie})->user);
    EXPECT_EQ("b", table.Use(second.token, {"other", second.cookie})->user);
    EXPECT_FALSE(table.Use(first.token, {second.cookie}));
    EXPECT_FALSE(table.Use(first.token, {}));
    EXPECT_FALSE(table.Use("", {first.cookie}));
    EXPECT_FALSE(table.Use(first.token.substr(1), {first.cookie}));
}

TEST_F(SessionTableTest, UseByTokenAloneNeedsNoCookie)
{
    const Session first = Open("a");
    Open("b");
    EXPECT_EQ("a", table.Use(first.token)->user);
    EXPECT_FALSE(table.Use(""));
    EXPECT_FALSE(table.Use(first.token.substr(1)));
}

TEST_F(SessionTableTest, UseWithAWrongCookieDoesNotProlongTheSession)
{
    const Session session = Open("a");
    now += std::chrono::seconds(60);
    EXPECT_FALSE(table.Use(session.token, {"other"}));
    now += std::chrono::seconds(1);
    EXPECT_FALSE(CanUse(session));
}

TEST_F(SessionTableTest, SessionLapsesAfterItsIdleTimeAndUseProlongsIt)
{
    const Session session = Open("admin");
    now += std::chrono::seconds(60);
    EXPECT_TRUE(CanUse(session));
    now += std::chrono::seconds(60);
    EXPECT_TRUE(CanUse(session));
    now += std::chrono::seconds(61);
    EXPECT_FALSE(CanUse(session));
    EXPECT_TRUE(table.List().empty());
}

TEST_F(SessionTableTest, LimitCountsOnlySessionsThatStand)
{
    table.Open("a");
    now += std::chrono::seconds(30);
    const Session second = Open("b");
    EXPECT_FALSE(table.Open("c"));
    now += std::chrono::seconds(31); // the first has lapsed
    EXPECT_EQ(3U, table.Open("c")->number);
    EXPECT_FALSE(table.Open("d"));
    table.Close(second.number);
    EXPECT_EQ(4U, table.Open("d")->number);
}

TEST_F(SessionTableTest, ListTellsUserAndIdleTimeButNoSecret)
{
    table.Open("a");
    now += std::chrono::seconds(5);
    const auto standing = table.List();
    ASSERT_EQ(1U, standing.size());
    EXPECT_EQ("a", standing[0].user);
    EXPECT_EQ(std::chrono::seconds(5), standing[0].idle);
}

TEST(AccountsTest, AcceptsOnlyTheRightPasswordOfAKnownUser)
{
    Accounts accounts;
    accounts.Add("admin", "one");
    accounts.Add("other", "two");
    EXPECT_TRUE(accounts.Accepts("admin", "one"));
    EXPECT_FALSE(accounts.Accepts("admin", "two"));
    EXPECT_FALSE(accounts.Accepts("nobody", "one"));
    EXPECT_FALSE(accounts.Accepts("admin", ""));
    accounts.Add("admin", "three");
    EXPECT_FALSE(accounts.Accepts("admin", "one"));
    EXPECT_TRUE(accounts.Accepts("admin", "three"));
}

} // namespace
} // namespace ZavSim

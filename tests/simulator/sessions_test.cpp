#include "simulator/array/sessions.h"

#include "simulator/array/accounts.h"
#include "simulator/array/codes.h"

#include <gtest/gtest.h>

namespace ZavSim {
namespace {

class SessionTableTest : public ::testing::Test {
protected:
    Code CodeOfUse(const std::string& token, const std::vector<std::string>& cookies)
    {
        try {
            table.Use(token, cookies);
            return Code::Success;
        } catch (const Refusal& refusal) {
            return refusal.GetCode();
        }
    }

    SteadyTime now{std::chrono::seconds(100)};
    SessionTable table{2, std::chrono::seconds(60), [this] { return now; }};
};

TEST_F(SessionTableTest, OpenGivesSecretsThatDiffer)
{
    const Session first = table.Open("admin");
    const Session second = table.Open("admin");
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
    const Session first = table.Open("a");
    const Session second = table.Open("b");
    EXPECT_EQ("a", table.Use(first.token, {first.cookie}).user);
    EXPECT_EQ("b", table.Use(second.token, {"other", second.cookie}).user);
    EXPECT_EQ(Code::SessionLapsed, CodeOfUse(first.token, {second.cookie}));
    EXPECT_EQ(Code::SessionLapsed, CodeOfUse(first.token, {}));
    EXPECT_EQ(Code::SessionLapsed, CodeOfUse("", {first.cookie}));
    EXPECT_EQ(Code::SessionLapsed, CodeOfUse(first.token.substr(1), {first.cookie}));
}

TEST_F(SessionTableTest, SessionLapsesAfterItsIdleTimeAndUseProlongsIt)
{
    const Session session = table.Open("admin");
    now += std::chrono::seconds(60);
    EXPECT_EQ(Code::Success, CodeOfUse(session.token, {session.cookie}));
    now += std::chrono::seconds(60);
    EXPECT_EQ(Code::Success, CodeOfUse(session.token, {session.cookie}));
    now += std::chrono::seconds(61);
    EXPECT_EQ(Code::SessionLapsed, CodeOfUse(session.token, {session.cookie}));
    EXPECT_TRUE(table.List().empty());
}

TEST_F(SessionTableTest, LimitCountsOnlySessionsThatStand)
{
    table.Open("a");
    now += std::chrono::seconds(30);
    const Session second = table.Open("b");
    EXPECT_THROW(table.Open("c"), Refusal);
    now += std::chrono::seconds(31); // the first has lapsed
    EXPECT_EQ(3U, table.Open("c").number);
    EXPECT_THROW(table.Open("d"), Refusal);
    table.Close(second.number);
    EXPECT_EQ(4U, table.Open("d").number);
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

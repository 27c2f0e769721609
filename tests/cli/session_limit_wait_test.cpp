#include "cli/array/session_limit_wait.h"

#include <gmock/gmock.h>

#include <vector>

using ::testing::ElementsAre;

namespace {

/// All pauses in milliseconds that there are with the same chance each time.
std::vector<std::int64_t> Pauses(std::uint8_t chance)
{
    SessionLimitWait wait;
    std::vector<std::int64_t> pauses;
    while (const auto pause = wait.Next(chance)) {
        pauses.push_back(pause->count());
    }
    return pauses;
}

TEST(SessionLimitWaitTest, PausesDoubleAndEndWithinAMinute)
{
    EXPECT_THAT(Pauses(0), ElementsAre(500, 1000, 2000, 4000, 8000, 16000));
    EXPECT_THAT(Pauses(255), ElementsAre(1500, 3000, 6000, 12000, 24000));
}

TEST(SessionLimitWaitTest, ChanceDecidesBetweenHalfAndHalfMore)
{
    EXPECT_EQ(500, SessionLimitWait().Next(0)->count());
    EXPECT_EQ(900, SessionLimitWait().Next(102)->count());
    EXPECT_EQ(1500, SessionLimitWait().Next(255)->count());
}

} // namespace

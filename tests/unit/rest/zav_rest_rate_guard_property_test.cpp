#include "tests/unit/rest/rest_test.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <random>

namespace {

/// The rule that the guard follows, in its own words: what was counted, when it was, and whether one more is too many.
struct GuardRule {
    std::int64_t time = 0;
    std::uint64_t count = 0;

    bool Exceeds(std::int64_t now, int interval, int limit)
    {
        const std::uint64_t distance = static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(time);
        const bool isBurst = distance < static_cast<std::uint64_t>(std::int64_t{interval});
        if (isBurst && count >= static_cast<std::uint64_t>(std::int64_t{limit})) {
            return true;
        }
        count = isBurst ? count + 1 : 1;
        time = now;
        return false;
    }
};

/// A guard and the rule beside it, through a history that is drawn from one seed.
class ZavRestApiRateGuardPropertyTest : public RestTest, public ::testing::WithParamInterface<unsigned int> {
protected:
    static constexpr int CHECKS = 20000;

    int Draw(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_random); }

    // Mostly such as an operator writes, and now and then any number at all.
    int DrawSetting()
    {
        static constexpr std::array<int, 5> EDGES = {0, -1, 1, std::numeric_limits<int>::max(),
                                                     std::numeric_limits<int>::min()};
        switch (Draw(8)) {
        case 0:
            return EDGES[static_cast<std::size_t>(Draw(static_cast<int>(EDGES.size())))];
        case 1:
            return static_cast<int>(m_random());
        default:
            return Draw(6);
        }
    }

    // Mostly onwards by little, so that bursts grow; now and then back, far away, or anywhere.
    std::int64_t DrawTime(std::int64_t now)
    {
        constexpr std::int64_t LATEST = std::numeric_limits<std::int64_t>::max();
        switch (Draw(40)) {
        case 0:
            return std::max<std::int64_t>(now, 0) - Draw(5);
        case 1:
            return static_cast<std::int64_t>(m_random()) << Draw(32);
        case 2:
            return Draw(2) == 0 ? LATEST - Draw(3) : -LATEST - 1 + Draw(3);
        default:
            return std::min(now, LATEST - 4) + Draw(4);
        }
    }

    std::mt19937 m_random{GetParam()};
};

TEST_P(ZavRestApiRateGuardPropertyTest, CheckDosAttackDoesWhatItsRuleSays)
{
    GuardRule rule;
    std::int64_t now = 0;
    int interval = 1;
    int limit = 3;
    int refusals = 0;
    for (int check = 0; check < CHECKS; ++check) {
        if (Draw(50) == 0) {
            interval = DrawSetting();
            limit = DrawSetting();
        }
        now = DrawTime(now);
        m_clock.SetWallSeconds(now);
        m_config.Set("DosRequestInterval", interval);
        m_config.Set("DosRequestCount", limit);
        m_log.Clear();
        const bool exceeds = rule.Exceeds(now, interval, limit);
        const std::string told = exceeds ? "The REST request exceed " + std::to_string(limit) + " per " +
                                               std::to_string(interval) + " seconds"
                                         : "The REST request counts is " + std::to_string(rule.count);
        ASSERT_EQ(exceeds, m_api.CheckDosAttack()) << "check " << check << " at " << now;
        ASSERT_EQ(1U, m_log.Lines().size());
        ASSERT_EQ(told, m_log.Lines().front().text) << "check " << check << " at " << now;
        refusals += exceeds ? 1 : 0;
    }
    EXPECT_GT(refusals, CHECKS / 20); // the history had bursts
    EXPECT_LT(refusals, CHECKS);
}

INSTANTIATE_TEST_SUITE_P(Seed, ZavRestApiRateGuardPropertyTest, ::testing::Values(1U, 2U, 3U, 20240229U, 4294967295U),
                         ::testing::PrintToStringParamName());

} // namespace

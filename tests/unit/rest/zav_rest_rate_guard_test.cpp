#include "tests/unit/rest/rest_test.h"

#include <chrono>
#include <future>
#include <thread>
#include <vector>

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

const char* const INTERVAL = "BackupNode/DosRequestInterval";
const char* const COUNT = "BackupNode/DosRequestCount";

/// A guard that lets `count` requests pass that follow each other closer than `interval` seconds.
class ZavRestApiRateGuardTest : public RestTest {
protected:
    void Limit(int interval, int count)
    {
        m_config.Set("DosRequestInterval", interval);
        m_config.Set("DosRequestCount", count);
    }

    int Send()
    {
        m_http.Next(NoData());
        Json::Value data;
        return m_api.SendAndParseRsp({}, data, m_errorText, false);
    }

    static LineMatcher Counted(int count)
    {
        return Line("CheckDosAttack", 1, "The REST request counts is " + std::to_string(count));
    }

    static LineMatcher Exceeded(const std::string& limit)
    {
        return Line("CheckDosAttack", 3, "The REST request exceed " + limit + " seconds");
    }
};

TEST_F(ZavRestApiRateGuardTest, TheFirstRequestAlwaysPasses)
{
    Limit(3600, 0);
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Counted(1)));
}

TEST_F(ZavRestApiRateGuardTest, ABurstIsCountedUpToItsLimitAndThenExceeds)
{
    Limit(2, 3);
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_TRUE(m_api.CheckDosAttack());
    EXPECT_TRUE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Counted(1), Counted(2), Counted(3), Exceeded("3 per 2"), Exceeded("3 per 2")));
}

TEST_F(ZavRestApiRateGuardTest, EveryCheckReadsTheConfigurationAfresh)
{
    Limit(10, 1);
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_TRUE(m_api.CheckDosAttack());
    Limit(10, 2);
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_THAT(m_config.Reads(), ElementsAre(INTERVAL, COUNT, INTERVAL, COUNT, INTERVAL, COUNT));
}

TEST_F(ZavRestApiRateGuardTest, AFullIntervalRestartsTheCountAndLessDoesNot)
{
    Limit(5, 10);
    EXPECT_FALSE(m_api.CheckDosAttack());
    m_clock.Advance(boost::chrono::seconds(4));
    EXPECT_FALSE(m_api.CheckDosAttack());
    m_clock.Advance(boost::chrono::seconds(5));
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Counted(1), Counted(2), Counted(1)));
}

TEST_F(ZavRestApiRateGuardTest, TheIntervalSlidesWithEveryRequestThatPasses)
{
    Limit(2, 3);
    for (int second = 0; second < 4; ++second) {
        EXPECT_EQ(second == 3, m_api.CheckDosAttack()) << second;
        m_clock.Advance(boost::chrono::seconds(1));
    }
    EXPECT_THAT(m_log.Lines(), ElementsAre(Counted(1), Counted(2), Counted(3), Exceeded("3 per 2")));
}

TEST_F(ZavRestApiRateGuardTest, ARequestThatExceedsMovesNeitherTimeNorCount)
{
    Limit(2, 1);
    EXPECT_FALSE(m_api.CheckDosAttack());
    m_clock.Advance(boost::chrono::seconds(1));
    EXPECT_TRUE(m_api.CheckDosAttack());
    Limit(2, 2);
    EXPECT_FALSE(m_api.CheckDosAttack()); // the refused one did not count
    Limit(2, 1);
    m_clock.Advance(boost::chrono::seconds(1));
    EXPECT_TRUE(m_api.CheckDosAttack());
    m_clock.Advance(boost::chrono::seconds(1)); // two after the last that passed, one after the last
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Counted(1), Exceeded("1 per 2"), Counted(2), Exceeded("1 per 2"), Counted(1)));
}

TEST_F(ZavRestApiRateGuardTest, AClockThatGoesBackwardsRestartsTheCount)
{
    Limit(3600, 1);
    m_clock.SetWallSeconds(1000);
    EXPECT_FALSE(m_api.CheckDosAttack());
    m_clock.SetWallSeconds(999);
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Counted(1), Counted(1)));
}

TEST_F(ZavRestApiRateGuardTest, AnIntervalOfZeroNeverExceeds)
{
    Limit(0, 0);
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Counted(1), Counted(1)));
}

TEST_F(ZavRestApiRateGuardTest, ANegativeIntervalIsLongerThanAnyPause)
{
    Limit(-1, 1);
    EXPECT_FALSE(m_api.CheckDosAttack());
    m_clock.Advance(boost::chrono::hours(24 * 365));
    EXPECT_TRUE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(), Contains(Exceeded("1 per -1")));
}

TEST_F(ZavRestApiRateGuardTest, ANegativeLimitIsHigherThanAnyCount)
{
    Limit(3600, -1);
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_FALSE(m_api.CheckDosAttack());
    EXPECT_THAT(m_log.Lines(), ElementsAre(Counted(1), Counted(2)));
}

TEST_F(ZavRestApiRateGuardTest, ARequestThatExceedsSleepsTheIntervalAndIsSentAnyway)
{
    Limit(1, 1);
    EXPECT_EQ(0, Send());
    EXPECT_THAT(m_clock.Sleeps(), IsEmpty());
    m_log.Clear();
    const std::size_t readsBefore = m_config.Reads().size();

    EXPECT_EQ(0, Send());
    EXPECT_THAT(m_clock.Sleeps(), ElementsAre(1));
    EXPECT_EQ(2U, m_http.Requests().size());
    EXPECT_THAT(m_log.Lines(),
                ElementsAre(Exceeded("1 per 1"),
                            Line("SendAndParseRsp", 3, "sleep 1seconds to avoid generating dos attack to web server")));
    std::vector<std::string> reads = m_config.Reads();
    reads.erase(reads.begin(), reads.begin() + static_cast<std::ptrdiff_t>(readsBefore));
    EXPECT_THAT(reads, ElementsAre(INTERVAL, COUNT, INTERVAL));

    m_log.Clear();
    m_clock.Advance(boost::chrono::seconds(2));
    EXPECT_EQ(0, Send());
    EXPECT_THAT(m_clock.Sleeps(), ElementsAre(1));
    EXPECT_THAT(m_log.Lines(), ElementsAre(Counted(1)));
}

TEST_F(ZavRestApiRateGuardTest, ALimitOfZeroDelaysEveryRequestWithinTheInterval)
{
    Limit(3, 0);
    EXPECT_EQ(0, Send());
    EXPECT_EQ(0, Send());
    EXPECT_THAT(m_clock.Sleeps(), ElementsAre(3)); // and now the interval is over
    EXPECT_EQ(0, Send());
    EXPECT_EQ(0, Send());
    EXPECT_THAT(m_clock.Sleeps(), ElementsAre(3, 3));
}

TEST_F(ZavRestApiRateGuardTest, TheSleepComesBeforeTheRequest)
{
    Limit(7, 0);
    EXPECT_EQ(0, Send());
    std::vector<std::string> order;
    m_clock.ObserveSleeps([this, &order] {
        order.emplace_back("sleep");
        EXPECT_EQ("sleep 7seconds to avoid generating dos attack to web server", m_log.Lines().back().text);
    });
    m_http.Observe([&order](const TMSHttpRequest&) { order.emplace_back("request"); });
    EXPECT_EQ(0, Send());
    EXPECT_THAT(order, ElementsAre("sleep", "request"));
}

TEST_F(ZavRestApiRateGuardTest, AnotherThreadIsCheckedWhileOneSleeps)
{
    Limit(7, 1);
    EXPECT_EQ(0, Send());
    std::future<bool> other;
    std::future_status status = std::future_status::timeout;
    m_clock.ObserveSleeps([this, &other, &status] {
        other = std::async(std::launch::async, [this] { return m_api.CheckDosAttack(); });
        status = other.wait_for(std::chrono::seconds(20)); // ends at once unless the sleeper holds the lock
    });
    EXPECT_EQ(0, Send());
    EXPECT_EQ(std::future_status::ready, status);
    EXPECT_FALSE(other.get()); // the sleep was as long as the interval
}

TEST_F(ZavRestApiRateGuardTest, RequestsOfSeveralThreadsAreEachCountedOnce)
{
    constexpr int THREADS = 4;
    constexpr int CHECKS = 250;
    Limit(3600, THREADS * CHECKS);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([this] {
            for (int check = 0; check < CHECKS; ++check) {
                EXPECT_FALSE(m_api.CheckDosAttack());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(m_log.Lines(),
                AllOf(SizeIs(THREADS * CHECKS), Contains(Counted(1)), Contains(Counted(THREADS * CHECKS))));
    EXPECT_TRUE(m_api.CheckDosAttack());
}

} // namespace

#include "tests/unit/disklib/loop_test.h"

#include <algorithm>
#include <random>
#include <set>
#include <utility>

namespace {

/// A message loop and, beside it, a plain sorted set that says what the loop has to do next. Everything that happens is
/// drawn from one seed.
class MessageLoopPropertyTest : public LoopTest, public ::testing::WithParamInterface<unsigned int> {
protected:
    using Key = std::pair<std::int64_t, int>; // due time, posting order

    static constexpr int POSTS = 3000;

    int Draw(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_random); }

    void Pass(std::int64_t nanoseconds) { m_clock.Advance(boost::chrono::nanoseconds(nanoseconds)); }

    // Most delays are short and often the same; few tasks have due times to themselves.
    unsigned long DrawDelay() { return static_cast<unsigned long>(Draw(4) == 0 ? Draw(2000) : Draw(5)); }

    void Post()
    {
        if (m_posted == POSTS) {
            return;
        }
        const unsigned long delay = DrawDelay();
        const Key key(Now() + static_cast<std::int64_t>(delay) * MILLISECOND, m_posted++);
        m_model.insert(key);
        m_loop.PostDelayedTask([this, key] { Runs(key); }, delay);
    }

    // A task: it must be the first of the model, and due. It posts more, takes some time, or neither.
    void Runs(const Key& key)
    {
        ASSERT_FALSE(m_model.empty());
        EXPECT_EQ(*m_model.begin(), key);
        EXPECT_LE(key.first, Now());
        m_model.erase(key);
        ++m_runs;
        for (int posts = Draw(3); posts > 0; --posts) {
            Post();
        }
        Pass(Draw(3) == 0 ? Draw(3 * MILLISECOND) : 0);
    }

    // A sleep: nothing may be due, and the loop must sleep for the first of the model. It ends in time, late, or early
    // because of a post, a wake-up or nothing at all.
    void Sleeps(int milliseconds)
    {
        if (m_model.empty()) {
            EXPECT_EQ(-1, milliseconds);
            m_posted == POSTS ? Stop() : Post();
            return;
        }
        const std::int64_t left = m_model.begin()->first - Now();
        EXPECT_GT(left, 0);
        EXPECT_EQ(left / MILLISECOND + 1, milliseconds);
        const std::int64_t whole = milliseconds * MILLISECOND;
        switch (Draw(4)) {
        case 0:
            Pass(whole);
            break;
        case 1:
            Pass(whole + Draw(20 * MILLISECOND));
            break;
        case 2:
            Pass(left * Draw(1000) / 1000);
            Post();
            break;
        default:
            Pass(left * Draw(1000) / 1000);
            m_loop.WakeUp();
        }
    }

    std::mt19937 m_random{GetParam()};
    std::set<Key> m_model;
    int m_posted = 0;
    int m_runs = 0;
};

TEST_P(MessageLoopPropertyTest, RunDoesWhatASortedListOfTheTasksSays)
{
    SCOPED_TRACE("seed " + std::to_string(GetParam()));
    m_loop.OpenDescriptors();
    m_calls.OnWait([this](int milliseconds) { Sleeps(milliseconds); });
    for (int posts = 0; posts < 50; ++posts) {
        Post();
        Pass(Draw(2) * Draw(MILLISECOND));
    }
    m_loop.Run();
    EXPECT_EQ(POSTS, m_runs);
    EXPECT_TRUE(m_model.empty());
    EXPECT_TRUE(m_loop.delayed_work_queue.empty());
}

INSTANTIATE_TEST_SUITE_P(Seed, MessageLoopPropertyTest, ::testing::Values(1U, 2U, 3U, 20240229U, 4294967295U),
                         ::testing::PrintToStringParamName());

} // namespace

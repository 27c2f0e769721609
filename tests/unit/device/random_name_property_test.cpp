#include "device/device_operate.h"
#include "tests/unit/device/device_test.h"

#include <map>
#include <random>

using ::testing::AllOf;
using ::testing::Gt;
using ::testing::Lt;
using ::testing::SizeIs;

namespace {

constexpr const char* PREFIX = "Vendrix_";

class RandomNamePropertyTest : public DeviceTest, public ::testing::WithParamInterface<unsigned int> {
protected:
    int Draw(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_generator); }

    DeviceOperate m_device;
    std::mt19937 m_generator{GetParam()};
};

TEST_P(RandomNamePropertyTest, GetRandStrTakesEachOfItsSixtyThreeCharactersEquallyOften)
{
    constexpr unsigned int LENGTH = 1000;
    constexpr int CHARACTERS = 63;
    std::map<char, int> counts;
    for (int name = 0; name < CHARACTERS; ++name) {
        std::vector<std::uint32_t> numbers(LENGTH);
        for (std::uint32_t& number : numbers) {
            number = static_cast<std::uint32_t>(m_generator());
        }
        m_random.Give(numbers);
        std::string text;
        ASSERT_TRUE(m_device.GetRandStr(text, LENGTH));
        for (const char character : text.substr(std::string(PREFIX).size())) {
            ++counts[character];
        }
    }
    ASSERT_THAT(counts, SizeIs(CHARACTERS));
    double chiSquare = 0;
    for (const auto& [character, count] : counts) {
        const double deviation = count - static_cast<double>(LENGTH); // each is expected as often as a name is long
        chiSquare += deviation * deviation / LENGTH;
    }
    // With 62 degrees of freedom, the values between which all but two in a thousand lie: neither skewed nor too even.
    EXPECT_THAT(chiSquare, AllOf(Gt(31.7), Lt(102.2)));
}

/// What becomes of a name when the source of random bytes does what a script says: for each draw, whether it fails.
struct NameRule {
    bool isMade = true;
    int draws = 0;
    std::string characters;

    NameRule(const std::vector<bool>& script, unsigned int length)
    {
        int failures = 0;
        while (characters.size() < length) {
            if (script[static_cast<std::size_t>(draws++)]) {
                ++failures;
                continue;
            }
            if (failures >= 3) {
                isMade = false;
                return;
            }
            failures = 0;
            characters += '1';
        }
    }
};

TEST_P(RandomNamePropertyTest, GetRandStrCountsFailuresUntilBytesComeAgain)
{
    constexpr int NAMES = 300;
    int failedNames = 0;
    for (int name = 0; name < NAMES; ++name) {
        const auto length = static_cast<unsigned int>(Draw(12));
        std::vector<bool> script;
        m_random.Clear();
        for (unsigned int successes = 0; successes < length;) {
            script.push_back(Draw(3) == 0);
            script.back() ? m_random.Fail(1, -Draw(2)) : m_random.Give({1});
            successes += script.back() ? 0 : 1;
        }
        const NameRule rule(script, length);
        std::string text = "untouched";
        ASSERT_EQ(rule.isMade, m_device.GetRandStr(text, length));
        ASSERT_EQ(rule.isMade ? PREFIX + rule.characters : "untouched", text);
        ASSERT_EQ(rule.draws, m_random.Draws());
        failedNames += rule.isMade ? 0 : 1;
    }
    EXPECT_THAT(failedNames, AllOf(Gt(0), Lt(NAMES / 2))); // the scripts had both
}

INSTANTIATE_TEST_SUITE_P(Seed, RandomNamePropertyTest, ::testing::Values(1U, 2U, 3U, 20240229U),
                         ::testing::PrintToStringParamName());

} // namespace

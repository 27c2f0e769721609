#include "base/secret.h"
#include "tests/unit/system_calls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

/// While one lives: which bytes were overwritten, and how many, in order.
class Overwrites {
public:
    using Pass = std::pair<const void*, std::size_t>;

    std::vector<Pass> Passes() const
    {
        std::vector<Pass> passes;
        for (const SystemCalls::Wipe& wipe : m_calls.Wipes()) {
            passes.emplace_back(wipe.place, wipe.bytes.size());
        }
        return passes;
    }

private:
    const SystemCalls m_calls;
};

/// The bytes at which a text's characters, and those behind them up to its capacity, stand or stood.
class Place {
public:
    explicit Place(const std::string& text)
        : m_bytes(text.data())
        , m_size(text.capacity())
    {
    }

    std::vector<char> Bytes() const { return {m_bytes, m_bytes + m_size}; }

private:
    const char* m_bytes;
    std::size_t m_size;
};

class SecretTest : public ::testing::TestWithParam<std::size_t> {
protected:
    /// A text whose spare capacity holds the rest of a longer secret.
    static std::string Shortened(std::size_t size)
    {
        std::string text(size, 's');
        text.resize(size / 2);
        return text;
    }
};

TEST_P(SecretTest, WipeOverwritesAllThatTheTextEverHeldAndEmptiesIt)
{
    std::string text = Shortened(GetParam());
    const Place place(text);
    Secret::Wipe(text);
    EXPECT_EQ("", text);
    EXPECT_THAT(place.Bytes(), Each('\0'));
}

TEST_P(SecretTest, WipeOverwritesThreeTimes)
{
    std::string text = Shortened(GetParam());
    const Overwrites overwrites;
    Secret::Wipe(text);
    const auto pass = Pair(static_cast<const void*>(text.data()), text.capacity());
    EXPECT_THAT(overwrites.Passes(), ElementsAre(pass, pass, pass));
}

TEST_P(SecretTest, ReplaceLeavesNothingOfALongerText)
{
    std::string text = Shortened(GetParam());
    const Place place(text);
    Secret::Replace(text, "new");
    EXPECT_EQ("new", text);
    const std::vector<char> bytes = place.Bytes();
    EXPECT_EQ(0, std::count(bytes.begin(), bytes.end(), 's'));
}

TEST_P(SecretTest, ReplaceByItselfKeepsTheText)
{
    std::string text(GetParam(), 's');
    Secret::Replace(text, text);
    EXPECT_EQ(std::string(GetParam(), 's'), text);
}

TEST_P(SecretTest, ScopedWipeWipesWhenTheScopeEnds)
{
    std::string text(GetParam(), 's');
    const Place place(text);
    {
        const Secret::ScopedWipe wipe(text);
        EXPECT_EQ(std::string(GetParam(), 's'), text);
    }
    EXPECT_EQ("", text);
    EXPECT_THAT(place.Bytes(), Each('\0'));
}

TEST_P(SecretTest, ScopedWipeWipesWhenTheScopeIsLeftByAnException)
{
    std::string text(GetParam(), 's');
    const Place place(text);
    try {
        const Secret::ScopedWipe wipe(text);
        throw 1;
    } catch (int) {
        EXPECT_THAT(place.Bytes(), Each('\0'));
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, SecretTest, ::testing::Values(1, 15, 16, 100, 4096)); // within the object, and beyond

class SecretBytesTest : public ::testing::Test {};

TEST_F(SecretBytesTest, WipeBytesTouchesExactlyItsBytes)
{
    char bytes[] = "abcdef";
    Secret::WipeBytes(bytes + 1, 3);
    EXPECT_EQ(std::string("a\0\0\0ef", 6), std::string(bytes, 6));
    const Overwrites overwrites;
    Secret::WipeBytes(bytes, 2);
    EXPECT_THAT(overwrites.Passes(), ElementsAre(Pair(bytes, 2U), Pair(bytes, 2U), Pair(bytes, 2U)));
}

TEST_F(SecretBytesTest, WipeOfPairsOverwritesTheSecondTextOfEach)
{
    std::set<std::pair<std::string, std::string>> pairs = {{"a name", "short"}, {"another", std::string(40, 's')}};
    const std::string& first = pairs.begin()->second;
    const std::string& last = pairs.rbegin()->second;
    const auto firstPass = Pair(static_cast<const void*>(first.data()), first.capacity());
    const auto lastPass = Pair(static_cast<const void*>(last.data()), last.capacity());
    const Overwrites overwrites;
    Secret::Wipe(pairs);
    EXPECT_TRUE(pairs.empty());
    EXPECT_THAT(overwrites.Passes(), ElementsAre(firstPass, firstPass, firstPass, lastPass, lastPass, lastPass));
}

TEST_F(SecretBytesTest, ReplaceTakesThePieceOfAnotherText)
{
    const std::string other = "session=c1; Path=/";
    std::string text = "old";
    Secret::Replace(text, std::string_view(other).substr(0, other.find(';')));
    EXPECT_EQ("session=c1", text);
}

TEST_F(SecretBytesTest, ReplaceByALongerTextWipesTheBufferThatItGivesUp)
{
    std::string text(20, 's');
    const Overwrites overwrites;
    const std::pair<const void*, std::size_t> old(text.data(), text.capacity());
    Secret::Replace(text, std::string(500, 'n'));
    EXPECT_EQ(std::string(500, 'n'), text);
    EXPECT_THAT(overwrites.Passes(), Each(old));
    EXPECT_EQ(3U, overwrites.Passes().size());
}

} // namespace

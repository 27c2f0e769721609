#include "common/framework/random_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <vector>

namespace {

TEST(RandomBytesTest, BytesAreFilledAndDiffer)
{
    std::set<std::array<unsigned char, 16>> drawn;
    for (int draw = 0; draw < 100; ++draw) {
        std::array<unsigned char, 16> bytes = {};
        ASSERT_GT(getRandBytes(bytes.data(), bytes.size()), 0);
        drawn.insert(bytes);
    }
    EXPECT_EQ(100U, drawn.size());
}

TEST(RandomBytesTest, EveryValueOfAByteComesUp)
{
    std::vector<unsigned char> bytes(65536);
    ASSERT_GT(getRandBytes(bytes.data(), static_cast<unsigned int>(bytes.size())), 0);
    EXPECT_EQ(256U, std::set<unsigned char>(bytes.begin(), bytes.end()).size());
}

TEST(RandomBytesTest, NothingBesideTheBufferIsTouched)
{
    std::array<unsigned char, 8> bytes = {};
    ASSERT_GT(getRandBytes(bytes.data() + 2, 4), 0);
    EXPECT_EQ(0, bytes[0] | bytes[1] | bytes[6] | bytes[7]);
}

TEST(RandomBytesTest, NoBytesAreASuccess)
{
    EXPECT_GT(getRandBytes(nullptr, 0), 0);
}

TEST(RandomBytesTest, BytesToNowhereAndTooManyAreFailures)
{
    unsigned char byte = 0;
    EXPECT_LE(getRandBytes(nullptr, 1), 0);
    EXPECT_LE(getRandBytes(&byte, 0x80000000U), 0);
    EXPECT_EQ(0, byte);
}

} // namespace

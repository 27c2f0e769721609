#include "base/utc_text.h"

#include <gtest/gtest.h>

namespace {

TEST(UtcTextTest, UtcTextWritesSecondsWhateverTheZone)
{
    EXPECT_EQ("1970-01-01T00:00:00Z", Base::UtcText(std::time_t{0}));
    EXPECT_EQ("2024-02-29T23:59:59Z", Base::UtcText(std::time_t{1709251199}));
    EXPECT_EQ("1969-12-31T23:59:59Z", Base::UtcText(std::time_t{-1}));
    std::tm parts = {};
    parts.tm_year = 126;
    parts.tm_mday = 31;
    EXPECT_EQ("2026-01-31T00:00:00Z", Base::UtcText(parts));
}

TEST(UtcTextTest, FormatReadsWhatItWrote)
{
    std::tm parts = {};
    ASSERT_NE(nullptr, ::strptime(Base::UtcText(std::time_t{1709251199}).c_str(), Base::UTC_FORMAT, &parts));
    EXPECT_EQ(1709251199, ::timegm(&parts));
}

} // namespace

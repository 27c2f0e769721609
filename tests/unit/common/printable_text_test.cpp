#include "common/printable_text.h"

#include <gtest/gtest.h>

namespace {

TEST(PrintableTextTest, LinesStandBehindEachOther)
{
    EXPECT_EQ("", PrintableText({}));
    EXPECT_EQ("one", PrintableText({"one"}));
    EXPECT_EQ("one; two", PrintableText({"one", "two"}));
}

TEST(PrintableTextTest, ControlCharactersAreEscapedAndOthersKept)
{
    EXPECT_EQ("a\\x1b[31m\\x00\\x7f\\x0ab \xc3\xa4", PrintableText({std::string("a\x1b[31m\0\x7f\nb \xc3\xa4", 13)}));
}

TEST(PrintableTextTest, TextIsCutAtItsLimit)
{
    EXPECT_EQ("abc", PrintableText({"abc"}, 3));
    EXPECT_EQ("abc...", PrintableText({"abcd"}, 3));
    EXPECT_EQ("ab;...", PrintableText({"ab", "cd"}, 3));
    EXPECT_EQ(1003U, PrintableText({std::string(5000, 'x')}).size());
}

} // namespace

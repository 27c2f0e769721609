#include "base/printable_text.h"

#include <gtest/gtest.h>

namespace {

TEST(PrintableTextTest, TextWithoutAnythingOddComesBack)
{
    for (const char* const text : {"", "plain \\ text", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", "\xc2\xa0"}) {
        EXPECT_EQ(text, Base::Printable(text));
    }
}

TEST(PrintableTextTest, ControlCharactersAreEscaped)
{
    EXPECT_EQ("a\\x1b[31m\\x00\\x7f\\x0ab", Base::Printable(std::string("a\x1b[31m\0\x7f\nb", 10)));
    EXPECT_EQ("\\xc2\\x9b31m", Base::Printable("\xc2\x9b\x33\x31m")); // the eight-bit form of the same sequence
}

TEST(PrintableTextTest, TurnsOfTheDirectionAreEscaped)
{
    EXPECT_EQ("a\\xe2\\x80\\xaeb", Base::Printable("a\xe2\x80\xae\x62"));
    EXPECT_EQ("\\xe2\\x81\\xa6", Base::Printable("\xe2\x81\xa6"));
    EXPECT_EQ("\xe2\x80\x9c", Base::Printable("\xe2\x80\x9c")) << "a quotation mark";
}

TEST(PrintableTextTest, WhatNoXmlMayHoldIsEscaped)
{
    EXPECT_EQ("a\\xef\\xbf\\xbe\\xef\\xbf\\xbf", Base::Printable("a\xef\xbf\xbe\xef\xbf\xbf"));
    EXPECT_EQ("\xef\xbf\xbd", Base::Printable("\xef\xbf\xbd")) << "the character before them";
}

TEST(PrintableTextTest, ColumnsAreThoseOfATerminal)
{
    EXPECT_EQ(0U, Base::Columns(""));
    EXPECT_EQ(4U, Base::Columns("L\xc3\xbcN1"));
    EXPECT_EQ(4U, Base::Columns("\xe6\x97\xa5\xe6\x9c\xac")) << "two wide characters";
    EXPECT_EQ(1U, Base::Columns("e\xcc\x81")) << "an accent of its own";
    EXPECT_EQ("\xe6\x97\xa5   |", Base::PrintableCell("\xe6\x97\xa5", 5) + "|");
    EXPECT_EQ("\\x1bx ", Base::PrintableCell("\x1bx", 6));
    EXPECT_EQ("longer", Base::PrintableCell("longer", 3));
}

TEST(PrintableTextTest, WhatIsNoUtf8IsEscapedByteByByte)
{
    EXPECT_EQ("\\xff\\xfe", Base::Printable("\xff\xfe"));
    EXPECT_EQ("a\\xc3", Base::Printable("a\xc3"));                          // cut off
    EXPECT_EQ("\\xc3(", Base::Printable("\xc3("));                          // no continuation
    EXPECT_EQ("\\xc0\\xaf", Base::Printable("\xc0\xaf"));                   // longer than needed
    EXPECT_EQ("\\xe0\\x80\\xaf", Base::Printable("\xe0\x80\xaf"));          // likewise
    EXPECT_EQ("\\xed\\xa0\\x80", Base::Printable("\xed\xa0\x80"));          // a surrogate
    EXPECT_EQ("\\xf4\\x90\\x80\\x80", Base::Printable("\xf4\x90\x80\x80")); // beyond the last character
}

TEST(PrintableTextTest, LinesStandBehindEachOther)
{
    EXPECT_EQ("", Base::PrintableLines({}));
    EXPECT_EQ("one", Base::PrintableLines({"one"}));
    EXPECT_EQ("one; tw\\x1bo", Base::PrintableLines({"one", "tw\x1bo"}));
}

TEST(PrintableTextTest, LinesAreCutAtTheirLimitButWithinNoCharacter)
{
    EXPECT_EQ("abc", Base::PrintableLines({"abc"}, 3));
    EXPECT_EQ("abc...", Base::PrintableLines({"abcd"}, 3));
    EXPECT_EQ("ab;...", Base::PrintableLines({"ab", "cd"}, 3));
    EXPECT_EQ("ab...", Base::PrintableLines({"ab\xe2\x82\xac"}, 3));
    EXPECT_EQ(1003U, Base::PrintableLines({std::string(5000, 'x')}).size());
}

} // namespace

#include "common/framework/log_proxy.h"

#include "tests/framework/support/framework_test.h"

#include <locale>
#include <memory>
#include <string>
#include <thread>

namespace {

using testing::MatchesRegex;

class LogLineTest : public FrameworkTest {
protected:
    /// The one line that the log holds.
    LogLine OnlyLine() const
    {
        const std::vector<LogLine> lines = LogLines();
        EXPECT_EQ(1U, lines.size());
        return lines.empty() ? LogLine() : lines.front();
    }
};

TEST_F(LogLineTest, LineHoldsItsEightFields)
{
    LogProxy(3, "Module", 77, "Operation", 123) << 0 << "Text with a number, " << 5 << ", and a flag, " << true;

    const LogLine line = OnlyLine();
    EXPECT_THAT(line.time, MatchesRegex("20[0-9][0-9]-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9]"
                                        "\\.[0-9][0-9][0-9][0-9][0-9][0-9]Z"));
    EXPECT_EQ("3", line.level);
    EXPECT_EQ("Module", line.module);
    EXPECT_EQ("77", line.requestId);
    EXPECT_EQ("Operation", line.function);
    EXPECT_EQ("123", line.line);
    EXPECT_EQ("0", line.code);
    EXPECT_EQ("Text with a number, 5, and a flag, 1", line.text);
}

TEST_F(LogLineTest, FirstIntegerIsTheCode)
{
    LogProxy(1, "m", 0, "f", 1) << -20000 << "failed with " << -20000;

    EXPECT_EQ("-20000", OnlyLine().code);
    EXPECT_EQ("failed with -20000", OnlyLine().text);
}

TEST_F(LogLineTest, IntegerBehindTextIsText)
{
    LogProxy(1, "m", 0, "f", 1) << "count " << 7;

    EXPECT_EQ("0", OnlyLine().code);
    EXPECT_EQ("count 7", OnlyLine().text);
}

TEST_F(LogLineTest, ControlCharactersAndBackslashesAreEscaped)
{
    LogProxy(1, "m", 0, "f", 1) << 0 << "a\nb\rc\td\\e\x1b[31m\x7f" << std::string(1, '\0') << "z";

    EXPECT_EQ("a\\nb\\rc\\td\\\\e\\x1b[31m\\x7f\\x00z", OnlyLine().text);
}

TEST_F(LogLineTest, TextOfOtherScriptsStaysAsItIs)
{
    LogProxy(1, "m", 0, "f", 1) << 0 << "Größe 大小";

    EXPECT_EQ("Größe 大小", OnlyLine().text);
}

TEST_F(LogLineTest, BarsInTheTextLeaveTheFieldsWhereTheyAre)
{
    LogProxy(1, "a|b", 0, "operator|", 1) << 0 << "x|y|z";

    EXPECT_EQ("a\\x7cb", OnlyLine().module);
    EXPECT_EQ("operator\\x7c", OnlyLine().function);
    EXPECT_EQ("x|y|z", OnlyLine().text);
}

TEST_F(LogLineTest, NullTextDoesNotSilenceTheRest)
{
    const char* const nothing = nullptr;
    LogProxy(1, "m", 0, "f", 1) << 0 << "before " << nothing << "after";

    EXPECT_EQ("before after", OnlyLine().text);
}

TEST_F(LogLineTest, EmptyLineIsALine)
{
    {
        LogProxy(1, "m", 0, "f", 1);
    }

    EXPECT_EQ("", OnlyLine().text);
    EXPECT_EQ("0", OnlyLine().code);
}

TEST_F(LogLineTest, NumbersLookTheSameInEveryLocale)
{
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
        char do_decimal_point() const override { return ','; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), std::make_unique<Grouping>().release()));
    LogProxy(1, "m", 0, "f", 1) << 0 << 1234567 << " " << 1.5;
    std::locale::global(before);

    EXPECT_EQ("1234567 1.5", OnlyLine().text);
}

TEST_F(LogLineTest, RequestIdBelongsToItsThread)
{
    TSP_RequestID.set(4711);
    unsigned long inOtherThread = 1;
    std::thread([&inOtherThread] {
        inOtherThread = TSP_RequestID.get();
        TSP_RequestID.set(9);
    }).join();

    EXPECT_EQ(4711U, TSP_RequestID.get());
    EXPECT_EQ(0U, inOtherThread);
    TSP_RequestID.set(0);
}

} // namespace

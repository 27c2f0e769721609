#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/shell.h"

#include <boost/algorithm/string/join.hpp>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string AllBytes()
{
    std::string text;
    for (int byte = 1; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    return text;
}

std::vector<std::string> NastyTexts()
{
    return {
        "",
        " ",
        "plain",
        "two words",
        "'",
        "''",
        "\"",
        "\\",
        "\\\\",
        "\\'",
        "'\"'\"'",
        "'; touch INJECTED; '",
        "\"; touch INJECTED; \"",
        "`touch INJECTED`",
        "$(touch INJECTED)",
        "${HOME}",
        "$HOME",
        "$1",
        "$$",
        "${PRODUCT_STORAGE_SHELL_PARAMETER_0}",
        "?",
        "'?'",
        "*",
        "/*",
        "[a-z]",
        "~",
        "#",
        " # not a comment",
        "!",
        "a;b|c&d>e<f(g)h{i}",
        "-n",
        "%s%d%",
        "\n",
        "\nline\n\nline\n",
        "\r\n",
        "\t",
        "Größe 大小",
        "\xff\xfe",
        AllBytes(),
        std::string(100'000, '\''),
    };
}

/// Templates that print their parameter and a point, for each place in which a '?' can stand.
class ShellQuotingTest : public FrameworkTest, public testing::WithParamInterface<const char*> {};

TEST_P(ShellQuotingTest, ParameterArrivesAsItIsWhateverItHolds)
{
    for (const std::string& nasty : NastyTexts()) {
        const ShellOutcome result = Shell(GetParam(), {nasty});
        EXPECT_EQ(0, result.status) << nasty;
        EXPECT_EQ(nasty + ".", boost::algorithm::join(result.out, "\n"));
        EXPECT_THAT(result.err, IsEmpty()) << nasty;
    }
    EXPECT_THAT(Shell("ls INJECTED 2> /dev/null; true").out, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Places, ShellQuotingTest,
                         testing::Values("printf '%s.' '?'", "printf '%s.' \"?\"", "printf '%s.' ?",
                                         "printf %s. \"$(printf '%s.' '?')\" | sed '$ s/.$//'",
                                         "printf '%s.' \"$(printf %s. \"?\" | cat)\" | sed '$ s/.$//'",
                                         "# don't mind: \"\nprintf '%s.' '?'",
                                         "echo \"it's\" > /dev/null; printf '%s.' '?'",
                                         "echo \\' > /dev/null; printf '%s.' \"?\"", "x=?; printf '%s.' \"$x\""));

class ShellTemplateTest : public FrameworkTest {};

TEST_F(ShellTemplateTest, ParametersFillTheMarksInOrder)
{
    EXPECT_THAT(Shell("printf '%s\\n' '?' \"?\" ? a?b 'a?b' \"a?b\"", {"1", "2 2", "3  3", "4", "5", "6 "}).out,
                ElementsAre("1", "2 2", "3  3", "a4b", "a5b", "a6 b"));
}

TEST_F(ShellTemplateTest, MoreThanTenParametersKeepTheirOrder)
{
    std::vector<std::string> params;
    std::string command = "echo";
    for (int index = 0; index < 12; ++index) {
        params.push_back(std::to_string(index));
        command += " ?";
    }
    EXPECT_THAT(Shell(command, params).out, ElementsAre("0 1 2 3 4 5 6 7 8 9 10 11"));
}

TEST_F(ShellTemplateTest, MarksInAParameterAreNotMarks)
{
    EXPECT_THAT(Shell("echo '?' '?'", {"?", "second"}).out, ElementsAre("? second"));
}

TEST_F(ShellTemplateTest, FunctionsAndSetDoNotChangeParameters)
{
    EXPECT_THAT(Shell("f() { echo '?'; }; set -- a b; f c", {"kept"}).out, ElementsAre("kept"));
}

TEST_F(ShellTemplateTest, WrongNumberOfParametersIsNotRun)
{
    const ShellOutcome tooFew = Shell("touch '?' '?'", {InRoot("made")});
    EXPECT_EQ(126, tooFew.status);
    EXPECT_THAT(tooFew.out, IsEmpty());
    EXPECT_THAT(tooFew.err, ElementsAre("The command was not run: it has 2 '?' for 1 parameters"));

    EXPECT_THAT(Shell("true", {"a"}).err, ElementsAre("The command was not run: it has 0 '?' for 1 parameters"));
    EXPECT_EQ("", ReadText(InRoot("made")));
}

TEST_F(ShellTemplateTest, NulByteIsNotRun)
{
    const ShellOutcome inParameter = Shell("echo '?' '?'", {"a", std::string("b\0c", 3)});
    EXPECT_EQ(126, inParameter.status);
    EXPECT_THAT(inParameter.err, ElementsAre("The command was not run: parameter 2 has a NUL byte"));
    EXPECT_THAT(Shell(std::string("echo a\0b", 8)).err, ElementsAre("The command was not run: it has a NUL byte"));
}

TEST_F(ShellTemplateTest, MarkThatCannotBeFilledSafelyIsNotRun)
{
    const ShellOutcome escaped = Shell("echo \\?", {"a"});
    EXPECT_EQ(126, escaped.status);
    EXPECT_THAT(escaped.err, ElementsAre("The command was not run: the '?' of parameter 1 stands behind a backslash"));
    EXPECT_THAT(Shell("echo `echo ?`", {"a"}).err,
                ElementsAre("The command was not run: the '?' of parameter 1 stands within `...`"));
    EXPECT_EQ(126, Shell("echo \"\\?\"", {"a"}).status) << "behind a backslash within double quotes";
    EXPECT_EQ(126, Shell("echo \"`echo ?`\"", {"a"}).status) << "within backquotes within double quotes";
}

TEST_F(ShellTemplateTest, EscapedQuoteDoesNotEndDoubleQuotes)
{
    EXPECT_THAT(Shell("echo \"\\\" ?\"", {"a  b $HOME"}).out, ElementsAre("\" a  b $HOME"));
}

TEST_F(ShellTemplateTest, MarkInACommentTakesItsParameterAndStaysAComment)
{
    EXPECT_THAT(Shell("echo '?' # and ? here\necho '?'", {"first", "\necho INJECTED", "third"}).out,
                ElementsAre("first", "third"));
}

} // namespace

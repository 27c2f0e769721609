#include "common/framework/security.h"
#include "tests/integration/stage.h"
#include "tests/integration/terminal.h"

#include <gmock/gmock.h>

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace {

/// zavctl before a person. A shell puts the terminal in the place of the streams that the test names.
class ZavctlTerminalTest : public Stage {
protected:
    std::unique_ptr<Process> StartOnTerminal(const std::string& redirection, const Process::Arguments& arguments)
    {
        Process::Arguments command = {"/bin/sh", "-c", "exec \"$@\" " + redirection, "sh", ProductPath("bin/zavctl")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return std::make_unique<Process>(command, Process::Arguments{"TERMINAL=" + m_terminal.Path()});
    }

    Terminal m_terminal;
};

TEST_F(ZavctlTerminalTest, PasswordIsAskedForAndNotShown)
{
    EncryptedPassword(); // with the node's key, which is there from now on
    const std::unique_ptr<Process> zavctl = StartOnTerminal("<\"$TERMINAL\" 2>\"$TERMINAL\"", {"password", "encrypt"});
    m_terminal.WaitFor("Password: ");
    EXPECT_FALSE(m_terminal.IsEchoing());
    m_terminal.Type("open sesame\n");
    ASSERT_EQ(0, zavctl->Wait()) << m_terminal.Shown();
    EXPECT_EQ("Password: \r\n", m_terminal.Shown());
    EXPECT_TRUE(m_terminal.IsEchoing()) << "what is typed next is shown again";

    std::string cipher = zavctl->Output();
    ASSERT_THAT(cipher, EndsWith("\n"));
    cipher.pop_back();
    std::string plain;
    EXPECT_TRUE(SecuritySS::ZelkDecryptInfo(cipher, plain));
    EXPECT_EQ("open sesame", plain);
}

TEST_F(ZavctlTerminalTest, EndOfInputInsteadOfAPasswordIsToldAndTheTerminalEchoesAgain)
{
    EncryptedPassword(); // with the node's key, which is there from now on
    const std::unique_ptr<Process> zavctl = StartOnTerminal("<\"$TERMINAL\" 2>\"$TERMINAL\"", {"password", "encrypt"});
    m_terminal.WaitFor("Password: ");
    m_terminal.Type("\x04");
    EXPECT_EQ(7, zavctl->Wait());
    EXPECT_THAT(m_terminal.Shown(), HasSubstr("zavctl: password: none was given on standard input"));
    EXPECT_EQ("", zavctl->Output());
    EXPECT_TRUE(m_terminal.IsEchoing());
}

TEST_F(ZavctlTerminalTest, InventoryShowsItsProgressOnTheTerminalAndClearsIt)
{
    ArrayOptions options;
    options.further = {"--luns", "30"};
    const Array& array = StartArray(options);
    const std::unique_ptr<Process> zavctl = StartOnTerminal(
        "2>\"$TERMINAL\"", {"inventory", "--env", EnvironmentFileOf(array), "--page-size", "15", "-o", "json"});
    ASSERT_EQ(0, zavctl->Wait()) << m_terminal.Shown();
    const std::string none(40, '-');
    const std::string half = std::string(20, '#') + std::string(20, '-');
    const std::string all(40, '#');
    EXPECT_THAT(m_terminal.Shown(), AllOf(HasSubstr("\r\x1b[KLUNs [" + none + "] 0/30\r\x1b[KLUNs [" + half +
                                                    "] 15/30\r\x1b[KLUNs [" + all + "] 30/30\r\x1b[K"),
                                          EndsWith("\r\x1b[K")));
    EXPECT_EQ(std::string::npos, zavctl->Output().find('\r')) << "the result is not mixed with it";
}

TEST_F(ZavctlTerminalTest, CleanupAsksAPersonAndTakesNoForNo)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string env = EnvironmentFileOf(array);
    ASSERT_EQ(0, RunZavctl({"init", "--env", env}).status);
    for (const auto& [answer, left] : std::vector<std::pair<std::string, std::size_t>>{{"\n", 1}, {"yes\n", 0}}) {
        const std::unique_ptr<Process> zavctl =
            StartOnTerminal("<\"$TERMINAL\" 2>\"$TERMINAL\"", {"cleanup", "--env", env});
        WaitUntil("the question", [this, count = 2 - left] {
            const std::string shown = m_terminal.Shown();
            std::size_t found = 0;
            for (std::size_t at = shown.find("take this apart?"); at != std::string::npos;
                 at = shown.find("take this apart?", at + 1)) {
                ++found;
            }
            return found == count;
        });
        m_terminal.Type(answer);
        EXPECT_EQ(0, zavctl->Wait()) << m_terminal.Shown();
        EXPECT_EQ(left, array.Ids("mappingview").size());
    }
    EXPECT_THAT(m_terminal.Shown(), HasSubstr("nothing was changed"));
}

} // namespace

#include "tests/integration/stage.h"
#include "tests/support/console_blocks.h"
#include "tests/support/notify_socket.h"

#include <gmock/gmock.h>

#include <boost/algorithm/string/replace.hpp>

#include <unistd.h>

#include <csignal>
#include <regex>
#include <sstream>

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// `zavctl init --watch` under a service manager, which the test is.
class ZavctlServiceTest : public Stage {
protected:
    /// Starts a watch of an environment's array, with a minute's watchdog unless told otherwise.
    std::unique_ptr<Process> StartService(const std::string& env, const std::string& pace,
                                          const std::string& watchdog = "60000000") const
    {
        return std::make_unique<Process>(
            Process::Arguments{ProductPath("bin/zavctl"), "init", "--env", env, "--watch", pace},
            Process::Arguments{"NOTIFY_SOCKET=" + m_socket.Address(), "WATCHDOG_USEC=" + watchdog});
    }

    /// The lines that a watch writes into the journal while `story` is played.
    template <typename Story>
    std::vector<std::string> JournalOf(const Array& array, const Story& story) const
    {
        const std::string journal = Directory() + "/journal";
        WriteText(journal, "");
        Process zavctl({"/bin/sh", "-c",
                        "JOURNAL_STREAM=$(stat -c %d:%i " + journal + ") TERM=xterm exec " + ProductPath("bin/zavctl") +
                            " init --env " + EnvironmentFileOf(array) + " --watch 1 2>>" + journal});
        const auto await = [&](const std::string& text) {
            WaitUntil(text, [&] { return ReadText(journal).find(text) != std::string::npos; });
        };
        story(await);
        zavctl.Signal(SIGTERM);
        zavctl.Wait();
        std::vector<std::string> lines;
        std::istringstream text(ReadText(journal));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    static std::string LineWith(const std::vector<std::string>& lines, const std::string& text)
    {
        for (const std::string& line : lines) {
            if (line.find(text) != std::string::npos) {
                return line;
            }
        }
        return "no line with " + text;
    }

    /// What a line of the manual's journal reads like here; "…" stands for the rest of a word or line.
    static std::string PatternOf(std::string line, const std::string& env, const Array& array)
    {
        line = std::regex_replace(line, std::regex("Vendrix_[A-Za-z0-9_-]+"), "Vendrix_NAME");
        for (const char* const special : {"(", ")", "."}) {
            boost::replace_all(line, special, std::string("\\") + special);
        }
        boost::replace_all(line, "Vendrix_NAME", "Vendrix_[A-Za-z0-9_-]{22}");
        boost::replace_all(line, "env\\.json", env);
        boost::replace_all(line, "10\\.20\\.0\\.1", array.Options().managementIps[0]);
        boost::replace_all(line, "…", ".*");
        return line;
    }

    const NotifySocket m_socket{Directory() + "/notify"};
};

TEST_F(ZavctlServiceTest, ReadyIsToldBehindTheFirstRoundWhateverCameOfIt)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    Change(env, ", \"" + Address(1) + "\"", ""); // which is the test's own
    array.SetListening(0, false);
    const auto zavctl = StartService(env, "1");
    EXPECT_EQ("EXTEND_TIMEOUT_USEC=900000000", m_socket.ReceiveUntil("EXTEND_TIMEOUT_USEC=900000000"))
        << "a round with commands of the node that end at their limit";
    EXPECT_THAT(m_socket.ReceiveUntil("READY=1"),
                StartsWith("READY=1\nSTATUS=prepared on 0 of 1 arrays; " + env + ": cannot log in"));
    array.SetListening(0, true);
    EXPECT_EQ("READY=1\nSTATUS=prepared on 1 of 1 arrays", m_socket.ReceiveUntil("STATUS=prepared on 1 of 1 arrays"));
    EXPECT_EQ("READY=1\nSTATUS=prepared on 1 of 1 arrays", m_socket.ReceiveUntil("STATUS=prepared on 1 of 1 arrays"))
        << "the next round, for a manager that missed the first";
    zavctl->Signal(SIGTERM);
    EXPECT_EQ("STOPPING=1\nSTATUS=stopping", m_socket.ReceiveUntil("STOPPING=1"));
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlServiceTest, WatchWhoseLoginWasRefusedIsReadySoThatNobodyStartsItAnew)
{
    const Array& array = StartServedArray();
    const std::string env = EnvironmentFileOf(array);
    const std::string right = ReadText(env);
    Change(env, "\"admin\"", "\"nobody\"");
    const auto zavctl = StartService(env, "1");
    EXPECT_THAT(m_socket.ReceiveUntil("READY=1"), HasSubstr("STATUS=prepared on 0 of 1 arrays; "));
    WriteText(env, right);
    m_socket.ReceiveUntil("STATUS=prepared on 1 of 1 arrays");
    unsigned int refused = 0;
    for (const JournalEntry& entry : array.Journal()) {
        refused += entry.method == "POST" && entry.code != 0 ? 1 : 0;
    }
    EXPECT_EQ(1U, refused);
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlServiceTest, WatchdogIsFedWhileTheWatchPauses)
{
    const Array& array = StartServedArray();
    const auto zavctl = StartService(EnvironmentFileOf(array), "3600", "20000");
    m_socket.ReceiveUntil("READY=1");
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ("WATCHDOG=1", m_socket.ReceiveUntil("WATCHDOG=1"));
    }
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait());
}

TEST_F(ZavctlServiceTest, StopInTheMiddleOfARoundIsToldToo)
{
    const Array& array = StartServedArray();
    const auto zavctl = StartService(EnvironmentFileOf(array), "1");
    m_socket.ReceiveUntil("READY=1");
    array.AddFault(R"({"kind": "silent", "method": "GET", "target": "/hostgroup/"})");
    array.AwaitFaultsHit();
    zavctl->Signal(SIGTERM);
    m_socket.ReceiveUntil("STOPPING=1");
    EXPECT_EQ(128 + SIGTERM, zavctl->Wait());
}

TEST_F(ZavctlServiceTest, EachLineOfTheJournalStandsForItself)
{
    ArrayOptions options;
    options.managementIps = {Address(0)};
    options.serviceIps = {Address(8)};
    options.serial = "21service" + std::to_string(::getpid());
    options.further = {"--state", Directory() + "/state.json"};
    Array& array = StartServedArray(options);
    const std::string env = EnvironmentFileOf(array);
    const std::vector<std::string> lines = JournalOf(array, [&](const auto& await) {
        await("mapping view 1");
        array.Program().Signal(SIGTERM);
        array.Program().Wait();
        await("lost: ");
        StartArray(options);
        await("recovered: ");
    });
    ASSERT_GT(lines.size(), 6U);
    for (const std::string& line : lines) {
        EXPECT_THAT(line, MatchesRegex("<[3-6]>[^\r\033]*")) << "a level in front, no colours, nothing that moves";
        EXPECT_THAT(line, Not(HasSubstr("zavctl: "))) << "the journal has the program's name";
    }
    EXPECT_THAT(LineWith(lines, "mapping view 1"), MatchesRegex("<6>" + env + ": mapping view 1 \\(.*\\): made"));
    EXPECT_THAT(LineWith(lines, "lost: "),
                AllOf(StartsWith("<3>"), HasSubstr(env + ": "), HasSubstr(": Connection refused (libcurl 7)"),
                      HasSubstr("; remedy: nothing listens there: check address and port")));
    EXPECT_EQ("<5>recovered: " + env, LineWith(lines, "recovered: ")) << "the journal has the time";
    std::istringstream shown(ConsoleBlocks::Block(MANUAL_FOLDER "/monitoring.md", "journal"));
    unsigned int told = 0;
    for (std::string line; std::getline(shown, line); ++told) {
        EXPECT_THAT(lines, Contains(MatchesRegex(PatternOf(line, env, array)))) << "shown in docs/monitoring.md";
    }
    EXPECT_EQ(3U, told);
}

TEST_F(ZavctlServiceTest, StandardErrorThatIsElsewhereReadsAsAlways)
{
    const Array& array = StartServedArray();
    const Base::ProgramResult outcome = RunToEnd({ProductPath("bin/zavctl"), "init", "--env", EnvironmentFileOf(array)},
                                                 {"JOURNAL_STREAM=1:2", "NOTIFY_SOCKET=" + m_socket.Address()});
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("\nzavctl: this node is prepared\n"));
}

} // namespace

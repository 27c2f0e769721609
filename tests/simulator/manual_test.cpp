#include "simulator/array/codes.h"
#include "simulator/cluster/cluster_codes.h"
#include "simulator/faults/fault_kinds.h"
#include "tests/support/console_blocks.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <regex>
#include <set>

namespace ZavSimTest {
namespace {

std::vector<std::string> ManualLines()
{
    return ConsoleBlocks::Lines(ZAVSIM_MANUAL);
}

std::string LinesLike(const std::string& pattern)
{
    std::string lines;
    for (const std::string& line : ManualLines()) {
        if (std::regex_match(line, std::regex(pattern))) {
            lines += line + "\n";
        }
    }
    return lines;
}

/// Addresses that no other run of the test has.
std::string MoveAddresses(const std::string& text)
{
    const int number = static_cast<int>(::getpid());
    const std::string network =
        "127." + std::to_string(32 + number / 65536 % 32) + "." + std::to_string(number / 256 % 256) + ".";
    return std::regex_replace(text, std::regex("127\\.0\\.0\\.([0-9])"),
                              network + std::to_string(1 + number % 24) + "$1");
}

/// Also when the manual is wrong, nothing that its commands started stays behind.
const std::string ENDS_WHAT_IT_STARTED = "trap 'kill $(jobs -p) 2>/dev/null' EXIT\n";

TEST(ManualTest, CommandsPrintWhatTheManualShows)
{
    const ConsoleBlocks::Session session = ConsoleBlocks::ReadSession(ZAVSIM_MANUAL);
    ASSERT_GT(session.commands, 20U);
    const TemporaryFolder folder;
    folder.Write("script", ENDS_WHAT_IT_STARTED + "cd " + folder.Path() + "\n" + MoveAddresses(session.script));
    const std::string programs = std::string(ZAVSIM_PROGRAM).substr(0, std::string(ZAVSIM_PROGRAM).rfind('/'));
    const Base::ProgramResult finished = RunToEnd({"timeout", "90", "/bin/bash", folder.File("script")},
                                                  {"PATH=" + programs + ":" + ::getenv("PATH") + ":/usr/sbin:/sbin"});
    EXPECT_EQ(MoveAddresses(session.output), finished.output);
    EXPECT_EQ("", finished.errors);
}

TEST(ManualTest, CodesAreThoseOfTheManual)
{
    std::string expected;
    for (const ZavSim::CodeInfo& info : ZavSim::AllCodes()) {
        if (info.code != ZavSim::Code::Success) {
            expected += "| " + std::to_string(static_cast<std::int64_t>(info.code)) + " | " + info.name + " | " +
                        info.description + " |\n";
        }
    }
    EXPECT_EQ(expected, LinesLike("\\| -?[0-9]+ \\| [A-Z][A-Za-z]+ \\| [A-Z].* \\|"));
}

TEST(ManualTest, CodesOfTheClusterAreThoseOfTheManual)
{
    std::string expected;
    for (const ZavSim::ClusterCodeInfo& info : ZavSim::AllClusterCodes()) {
        if (info.code != ZavSim::ClusterCode::Success) {
            expected += "| " + std::to_string(static_cast<std::int64_t>(info.code)) + " | " + info.name + " | " +
                        std::to_string(static_cast<int>(info.v1Result)) + " | " + info.description + " |\n";
        }
    }
    EXPECT_EQ(expected, LinesLike("\\| -?[0-9]+ \\| [A-Z][A-Za-z]+ \\| [0-9] \\| .* \\|"));
}

TEST(ManualTest, FaultsAreThoseOfTheManual)
{
    std::string expected;
    for (const ZavSim::FaultKind& kind : ZavSim::AllFaultKinds()) {
        const bool isCarriedOut = kind.treatment == ZavSim::Treatment::CarriedOut;
        expected +=
            std::string("| `") + kind.word + "` | " + kind.meaning + (isCarriedOut ? " | yes |\n" : " | no |\n");
    }
    EXPECT_EQ(expected, LinesLike("\\| `[a-z-]+` \\| .* \\| (yes|no) \\|"));
}

TEST(ManualTest, OptionsAreThoseOfTheProgram)
{
    const Base::ProgramResult outcome = RunToEnd({ZAVSIM_PROGRAM, "--help"});
    EXPECT_EQ(0, outcome.status);
    const std::string& help = outcome.output;
    std::set<std::string> offered;
    const std::regex option("--[a-z-]+");
    for (std::sregex_iterator each(help.begin(), help.end(), option), end; each != end; ++each) {
        offered.insert(each->str());
    }
    offered.erase("--help");
    std::set<std::string> shown;
    for (const std::string& line : ManualLines()) {
        std::smatch found;
        if (std::regex_search(line, found, std::regex("^\\| `(--[a-z-]+)[ `]"))) {
            shown.insert(found[1]);
        }
    }
    EXPECT_EQ(offered, shown);
}

} // namespace
} // namespace ZavSimTest

#include "tests/integration/stage.h"
#include "tests/support/console_blocks.h"

#include <gtest/gtest.h>

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

namespace {

const std::vector<Process::Arguments> COMMANDS = {{},
                                                  {"init"},
                                                  {"inventory"},
                                                  {"cleanup"},
                                                  {"tidy"},
                                                  {"cluster"},
                                                  {"env"},
                                                  {"env", "new"},
                                                  {"env", "check"},
                                                  {"password"},
                                                  {"password", "encrypt"},
                                                  {"config"},
                                                  {"config", "check"}};

class ZavctlManualTest : public Stage {
protected:
    /// The page names addresses and folders as users have them; the test has others in their place.
    std::string Move(std::string text) const
    {
        for (const auto& [shown, ours] : m_moves) {
            boost::replace_all(text, shown, ours);
        }
        return text;
    }

    void Replace(const std::string& shown, const std::string& ours) { m_moves.emplace_back(shown, ours); }

    /// What is drawn at random reads the same everywhere.
    static std::string Settle(const std::string& text)
    {
        const std::string names = std::regex_replace(text, std::regex("Vendrix_[A-Za-z0-9_-]+"), "Vendrix_NAME");
        return std::regex_replace(names, std::regex("AES256GCM\\.1\\.[A-Za-z0-9+/=]+"), "AES256GCM.1.CIPHER");
    }

    /// A command's help, and the examples that it ends with.
    std::pair<std::string, std::vector<std::string>> Help(Process::Arguments command) const
    {
        command.emplace_back("--help");
        const std::string whole = RunZavctl(command).output;
        const std::string mark = "Examples:\n";
        const std::size_t end = std::min(whole.find(mark), whole.size() - mark.size());
        std::vector<std::string> examples;
        std::istringstream lines(whole.substr(end + mark.size()));
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("  ", 0) == 0) {
                examples.push_back(line.substr(2));
            }
        }
        return {whole.substr(0, end), examples};
    }

    /// Runs an example as a shell would, where key, environments and password are as it takes them to be.
    Base::ProgramResult RunExample(std::string line, const Array& array) const
    {
        const std::string environment = ReadText(EnvironmentFileOf(array)); // which makes the key where it is missing
        for (const char* const name : {"/env.json", "/one.json", "/other.json"}) {
            WriteText(Directory() + name, environment);
        }
        if (line.find("--new-key") != std::string::npos) {
            boost::filesystem::remove(ProductPath("conf/product.key"));
        }
        if (line.find("--watch") != std::string::npos) { // which stays until it is ended
            line += " >shown & while kill -0 $! && ! grep 'VIEW NAME' shown; do sleep 0.1; done; kill $!; wait $!";
        }
        return RunToEnd({"/bin/bash", "-c", "set -o pipefail; cd " + Directory() + "; " + Move(line)},
                        {"PATH=" + ProductPath("bin") + ":" + std::getenv("PATH")}, std::string(PASSWORD) + "\n");
    }

private:
    std::vector<std::pair<std::string, std::string>> m_moves;
};

TEST_F(ZavctlManualTest, CommandsPrintWhatTheManualShows)
{
    Configure({{"Security.KeyFile", ProductPath("conf/product.key")}});
    ArrayOptions options;
    options.serial = "2102350000"; // as the page has it; names and numbers of LUNs follow from it
    const Array& array = StartArray(options);
    const Cluster& cluster = StartCluster();
    StartTargets(array.Options().serviceIps);
    Replace("10.20.0.1", array.Options().managementIps[0]);
    Replace("10.20.0.5", array.Options().serviceIps[0]);
    Replace("10.20.0.8", cluster.Address(0));
    Replace("10.20.0.9", cluster.Address(1));
    Replace("/opt/product", Directory() + "/product");
    const std::string environment = Move(ConsoleBlocks::Block(ZAVCTL_MANUAL, "json"));
    WriteText(Directory() + "/password", std::string(PASSWORD) + "\n");
    WriteText(Directory() + "/env.json",
              std::regex_replace(environment, std::regex("AES256GCM[^\"]*"), EncryptedPassword()));

    const ConsoleBlocks::Session session = ConsoleBlocks::ReadSession(ZAVCTL_MANUAL);
    ASSERT_GT(session.commands, 10U);
    WriteText(Directory() + "/script", "exec 2>&1\ncd " + Directory() + "\n" + Move(session.script));
    const Base::ProgramResult outcome = RunToEnd({"timeout", "90", "/bin/bash", Directory() + "/script"},
                                                 {"PATH=" + ProductPath("bin") + ":" + std::getenv("PATH")});
    EXPECT_EQ(Settle(Move(session.output)), Settle(outcome.output));
}

TEST_F(ZavctlManualTest, CommandsAndOptionsAreThoseOfTheProgram)
{
    const std::regex option("--[a-z-]+");
    std::set<std::string> offered = {"--help"};
    for (const Process::Arguments& command : COMMANDS) {
        const std::string name = command.empty() ? "" : command[0] + " "; // a section tells of all below its command
        const std::string help = Help(command).first;
        for (std::sregex_iterator each(help.begin(), help.end(), option), end; each != end; ++each) {
            if (each->str() != "--help") { // each has it; told once
                offered.insert(name + each->str());
            }
        }
    }
    std::set<std::string> shown;
    std::string command;
    for (const std::string& line : ConsoleBlocks::Lines(ZAVCTL_MANUAL)) {
        std::smatch found;
        if (std::regex_search(line, found, std::regex("^## zavctl ([a-z]+)"))) {
            command = found[1].str() + " ";
        } else if (std::regex_search(line, found, std::regex("^\\| `(?:-[a-z], )?(--[a-z-]+)"))) {
            shown.insert(command + found[1].str());
        }
    }
    EXPECT_EQ(offered, shown);
}

TEST_F(ZavctlManualTest, ExamplesOfTheHelpDoWhatTheyShow)
{
    Configure({{"Security.KeyFile", ProductPath("conf/product.key")}});
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartArray(options);
    const Cluster& cluster = StartCluster();
    StartTargets(array.Options().serviceIps);
    Replace("10.20.0.1", Address(0));
    Replace("10.20.0.2", Address(1));
    Replace("10.20.0.8", cluster.Address(0));
    WriteText(Directory() + "/password", std::string(PASSWORD) + "\n");
    WriteText(Directory() + "/other.ini", ReadText(Directory() + "/backupnode.ini"));

    for (const Process::Arguments& command : COMMANDS) {
        const std::vector<std::string> examples = Help(command).second;
        EXPECT_GE(examples.size(), 2U) << (command.empty() ? "" : command.back());
        for (const std::string& example : examples) {
            const Base::ProgramResult outcome = RunExample(example, array);
            EXPECT_EQ(0, outcome.status) << example << "\n" << outcome.errors;
        }
    }
}

} // namespace

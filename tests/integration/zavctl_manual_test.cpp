#include "tests/integration/stage.h"
#include "tests/support/console_blocks.h"
#include "tests/support/full_listener.h"

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
                                                  {"plan"},
                                                  {"init"},
                                                  {"status"},
                                                  {"check"},
                                                  {"doctor"},
                                                  {"inventory"},
                                                  {"cleanup"},
                                                  {"orphans"},
                                                  {"tidy"},
                                                  {"cluster"},
                                                  {"env"},
                                                  {"env", "new"},
                                                  {"env", "check"},
                                                  {"password"},
                                                  {"password", "encrypt"},
                                                  {"config"},
                                                  {"config", "check"},
                                                  {"completion"},
                                                  {"system"},
                                                  {"pools"},
                                                  {"luns"},
                                                  {"ports"},
                                                  {"hosts"},
                                                  {"node"},
                                                  {"version"}};

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

    /// What is drawn at random, or takes its time, reads the same everywhere.
    static std::string Settle(const std::string& text)
    {
        std::string settled = std::regex_replace(text, std::regex("Vendrix_[A-Za-z0-9_-]+"), "Vendrix_NAME");
        settled = std::regex_replace(settled, std::regex("AES256GCM\\.1\\.[A-Za-z0-9+/=]+"), "AES256GCM.1.CIPHER");
        return std::regex_replace(settled, std::regex("after [0-9]+ ms"), "after N ms");
    }

    /// The array of all pages, with a target at its service address, and the environment that the manual shows.
    const Array& StartShownArray()
    {
        ArrayOptions options;
        options.serial = "2102350000"; // as the pages have it; names and numbers of LUNs follow from it
        const Array& array = StartArray(options);
        StartTargets(array.Options().serviceIps);
        Replace("10.20.0.1", array.Options().managementIps[0]);
        Replace("10.20.0.5", array.Options().serviceIps[0]);
        const std::string environment = Move(ConsoleBlocks::Block(Page("zavctl.md"), "json"));
        WriteText(Directory() + "/password", std::string(PASSWORD) + "\n");
        WriteText(Directory() + "/env.json",
                  std::regex_replace(environment, std::regex("AES256GCM[^\"]*"), EncryptedPassword()));
        return array;
    }

    static std::string Page(const std::string& name) { return std::string(MANUAL_FOLDER) + "/" + name; }

    /// Runs the page's commands, with the folders of `path` on the search path, and compares what they print.
    void ExpectPrintedAsShown(const std::string& page, const std::string& path) const
    {
        const ConsoleBlocks::Session session = ConsoleBlocks::ReadSession(Page(page));
        ASSERT_GT(session.commands, 0U);
        WriteText(Directory() + "/script", "exec 2>&1\ntrap 'kill $(jobs -p) 2>/dev/null' EXIT\ncd " + Directory() +
                                               "\n" + Move(session.script));
        const Base::ProgramResult outcome =
            RunToEnd({"timeout", "90", "/bin/bash", Directory() + "/script"},
                     {"PATH=" + path + ":" + std::getenv("PATH"), "HOME=" + Directory()});
        EXPECT_EQ(Settle(Move(session.output)), Settle(outcome.output));
    }

    /// An environment file for the same port at another address.
    void MakeEnvironmentAt(const std::string& name, const std::string& address) const
    {
        WriteText(Directory() + "/" + name,
                  boost::replace_all_copy(ReadText(Directory() + "/env.json"), Move("10.20.0.1"), address));
    }

    /// An array with a fault, unless that is empty, and its environment.
    void StartFaulty(const std::string& environment, const std::string& address, const std::string& serviceIp,
                     const std::string& fault)
    {
        ArrayOptions options;
        options.managementIps = {address};
        options.serviceIps = {serviceIp};
        const Array& array = StartArray(options);
        if (!fault.empty()) {
            array.AddFault(fault);
        }
        MakeEnvironmentAt(environment, address);
    }

    /// An array whose authority is not trusted.
    void StartForeign(const std::string& environment, const std::string& address)
    {
        ArrayOptions options;
        options.managementIps = {address};
        options.serviceIps = {Address(11)};
        options.caFolder = Directory() + "/foreign";
        StartArray(options);
        MakeEnvironmentAt(environment, address);
    }

    /// Configurations that differ from the stage's in what is wrong with the node.
    void MakeBrokenNodes()
    {
        Configure({{"Http.ConnectTimeoutSeconds", "2"}});
        WriteText(ProductPath("conf/other.key"), std::string(64, 'a') + "\n");
        WriteText(ProductPath("conf/open.key"), std::string(64, 'a') + "\n");
        boost::filesystem::permissions(ProductPath("conf/other.key"), boost::filesystem::perms(0600));
        boost::filesystem::permissions(ProductPath("conf/open.key"), boost::filesystem::perms(0644));
        const std::string key = Directory() + "/product.key";
        MakeConfiguration("otherkey.ini", key, ProductPath("conf/other.key"));
        MakeConfiguration("openkey.ini", key, ProductPath("conf/open.key"));
        MakeConfiguration("nokey.ini", key, ProductPath("conf/no.key"));
        MakeConfiguration("mistaken.ini", "[Http]", "[Htpt]");
        MakeNode("noiscsiadm", "iscsiadm", "echo '/bin/sh: 1: eval: iscsiadm: not found' >&2; exit 127");
        MakeNode("noiscsid", "iscsiadm", "echo 'iscsiadm: can not connect to iSCSI daemon (111)!' >&2; exit 20");
        MakeNode("hanging", "iscsiadm", "exec sleep 60");
        MakeNode("noname", "cat", "case $1 in /etc/*) exit 1 ;; esac; exec " + Directory() + "/node/bin/cat \"$@\"");
    }

    void MakeConfiguration(const std::string& name, const std::string& from, const std::string& to) const
    {
        WriteText(Directory() + "/" + name,
                  boost::replace_all_copy(ReadText(Directory() + "/backupnode.ini"), from, to));
    }

    /// A node with a command of its own in front of the stage's.
    void MakeNode(const std::string& name, const std::string& command, const std::string& script) const
    {
        WriteProgram(Directory() + "/" + name + "/" + command, script + "\n");
        MakeConfiguration(name + ".ini", "Path = ", "Path = " + Directory() + "/" + name + ":");
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
    StartShownArray();
    const Cluster& cluster = StartCluster();
    Replace("10.20.0.8", cluster.Address(0));
    Replace("10.20.0.9", cluster.Address(1));
    Replace("/opt/product", Directory() + "/product");
    ExpectPrintedAsShown("zavctl.md", ProductPath("bin"));
}

TEST_F(ZavctlManualTest, QuickStartLeadsToAPreparedNodeAndBack)
{
    StartShownArray();
    Replace("/opt/product/conf/product.key", Directory() + "/product.key");
    Replace("/opt/product/ca.pem", Directory() + "/ca/ca.pem");
    Replace("/opt/product", Directory() + "/product");
    Replace("127.0.0.1", Address(2));
    Replace("127.0.0.5", Address(10));
    // The programs as a build has them, but with this test's own node beside zavsim.
    const std::string programs = Directory() + "/programs";
    boost::filesystem::create_directories(programs + "/node");
    for (const char* const name : {"zavsim", "zavsim-target", "node/iscsiadm"}) {
        boost::filesystem::create_symlink(ProgramPath(name), programs + "/" + name);
    }
    boost::filesystem::create_symlink(Directory() + "/node/bin/cat", programs + "/node/cat");
    ExpectPrintedAsShown("quick-start.md", ProductPath("bin") + ":" + programs);
}

TEST_F(ZavctlManualTest, MetricsAreAsTheyAreShown)
{
    StartShownArray();
    ExpectPrintedAsShown("monitoring.md", ProductPath("bin"));
}

TEST_F(ZavctlManualTest, ALineOfTheLogIsTakenApartAsShown)
{
    ExpectPrintedAsShown("configuration.md", ProductPath("bin"));
}

TEST_F(ZavctlManualTest, FailuresAreAsTheyAreShownBySymptom)
{
    const Array& array = StartShownArray();
    Replace("10.20.0.2", Address(1));
    Replace("10.20.0.3", Address(2));
    Replace("10.20.0.4", Address(3));
    Replace("10.20.0.6", Address(4));
    Replace("10.20.0.7", Address(5));
    Replace("10.20.0.8", Address(9));
    Replace("10.20.0.9", Address(6));
    Replace("array.example.net", std::string(64, 'n')); // longer than any name may be: nobody is asked for it
    Replace("/opt/product", Directory() + "/product");
    const FullListener silent(Address(2), Array::PORT);
    MakeEnvironmentAt("closed.json", Address(1));
    MakeEnvironmentAt("silent.json", Address(2));
    MakeEnvironmentAt("name.json", std::string(64, 'n'));
    StartFaulty("sessions.json", Address(3), array.Options().serviceIps[0],
                R"({"kind": "code", "code": 1090519042, "target": "sessions", "count": 0, "description": )"
                R"("The number of sessions has reached its limit: 32 stand"})");
    StartFaulty("full.json", Address(6), array.Options().serviceIps[0],
                R"({"kind": "code", "code": 1090519100, "method": "POST", "target": "mappingview$", "count": 0, )"
                R"("description": "The number of mapping views has reached its limit"})");
    StartFaulty("unserved.json", Address(5), Address(9), "");
    StartForeign("foreign.json", Address(4));
    MakeBrokenNodes();
    ExpectPrintedAsShown("troubleshooting.md", ProductPath("bin"));
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
    for (const std::string& line : ConsoleBlocks::Lines(Page("zavctl.md"))) {
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

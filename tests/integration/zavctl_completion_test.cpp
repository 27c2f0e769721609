#include "tests/integration/stage.h"
#include "tests/integration/terminal.h"

#include <gmock/gmock.h>

#include <boost/algorithm/string/join.hpp>

#include <map>
#include <regex>
#include <set>
#include <sstream>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

namespace {

/// What the shells themselves offer once they have loaded what `zavctl completion` prints.
class ZavctlCompletionTest : public Stage {
protected:
    using Words = std::vector<std::string>;

    /// What is offered, and what it is told as.
    using Offers = std::map<std::string, std::string>;

    std::string Script(const std::string& shell) const
    {
        std::string path = Directory() + "/zavctl." + shell;
        const Base::ProgramResult outcome = RunZavctl({"completion", shell});
        EXPECT_EQ(0, outcome.status) << outcome.errors;
        WriteText(path, outcome.output);
        return path;
    }

    /// What a shell offers in the place of the last word of a command line.
    Offers OffersOf(const std::string& shell, const Words& words) const
    {
        Words command = {shell, std::string(SHELLS_FOLDER) + "/offers." + shell, Script(shell)};
        if (shell == "bash") {
            command.insert(command.end(), words.begin(), words.end());
        } else {
            command.insert(command.begin() + 1, shell == "zsh" ? "-f" : "--no-config");
            command.push_back(boost::join(words, " "));
        }
        const Base::ProgramResult outcome = RunToEnd(command, {"HOME=" + Directory()});
        EXPECT_EQ("", outcome.errors) << shell;
        Offers offers;
        std::istringstream lines(outcome.output);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t tab = std::min(line.find('\t'), line.size());
            offers[line.substr(0, tab)] = line.substr(std::min(tab + 1, line.size()));
        }
        return offers;
    }

    static std::set<std::string> NamesOf(const Offers& offers)
    {
        std::set<std::string> names;
        for (const auto& [name, told] : offers) {
            names.insert(name);
        }
        return names;
    }

    std::string HelpOf(Words command) const
    {
        command.emplace_back("--help");
        return RunZavctl(command).output;
    }

    /// The words of a help's lines that match.
    static std::set<std::string> Named(const std::string& help, const std::string& pattern)
    {
        const std::regex line(pattern, std::regex::ECMAScript | std::regex::multiline);
        std::set<std::string> names;
        for (std::sregex_iterator each(help.begin(), help.end(), line), end; each != end; ++each) {
            names.insert((*each)[1].str());
        }
        return names;
    }

    static std::set<std::string> OptionsIn(const std::string& help)
    {
        return Named(help, "^  (?:-[a-z],)?(--[a-z-]+)");
    }

    static std::set<std::string> CommandsIn(const std::string& help)
    {
        const std::size_t begin = std::min(help.find("Subcommands:"), help.size());
        return Named(help.substr(begin, help.find("Examples:") - begin), "^  ([a-z]+) ");
    }

    /// Goes through a command and those below it by what their help names.
    void ExpectAllOffered(const std::string& shell, const Words& command) const
    {
        Words words = {"zavctl"};
        words.insert(words.end(), command.begin(), command.end());
        words.emplace_back("--");
        std::set<std::string> options = OptionsIn(HelpOf(command));
        options.merge(OptionsIn(HelpOf({})));
        EXPECT_EQ(options, NamesOf(OffersOf(shell, words))) << shell << " " << boost::join(words, " ");

        const std::set<std::string> commands = CommandsIn(HelpOf(command));
        if (commands.empty()) {
            return;
        }
        words.back().clear();
        EXPECT_EQ(commands, NamesOf(OffersOf(shell, words))) << shell << " " << boost::join(words, " ");
        for (const std::string& below : commands) {
            Words next = command;
            next.push_back(below);
            ExpectAllOffered(shell, next);
        }
    }

    static constexpr const char* const SHELLS[] = {"bash", "zsh", "fish"};
};

TEST_F(ZavctlCompletionTest, BashOffersEachCommandAndOptionThatTheHelpNames)
{
    ExpectAllOffered("bash", {});
}

TEST_F(ZavctlCompletionTest, ZshOffersEachCommandAndOptionThatTheHelpNames)
{
    ExpectAllOffered("zsh", {});
}

TEST_F(ZavctlCompletionTest, FishOffersEachCommandAndOptionThatTheHelpNames)
{
    ExpectAllOffered("fish", {});
}

TEST_F(ZavctlCompletionTest, BeginningsAreCompletedWhereverOptionsStand)
{
    for (const std::string shell : SHELLS) {
        EXPECT_THAT(OffersOf(shell, {"zavctl", "--timeout", "5", "inv"}), ElementsAre(Key("inventory"))) << shell;
        EXPECT_THAT(OffersOf(shell, {"zavctl", "-v", "env", "n"}), ElementsAre(Key("new"))) << shell;
        EXPECT_THAT(OffersOf(shell, {"zavctl", "tidy", "--i"}), ElementsAre(Key("--id"))) << shell;
    }
}

TEST_F(ZavctlCompletionTest, ChoicesAreOfferedBehindTheirOption)
{
    for (const std::string shell : SHELLS) {
        EXPECT_THAT(OffersOf(shell, {"zavctl", "check", "-o", ""}), UnorderedElementsAre(Key("json"), Key("table")));
        EXPECT_THAT(OffersOf(shell, {"zavctl", "status", "--output", "w"}), ElementsAre(Key("wide"))) << shell;
        EXPECT_THAT(OffersOf(shell, {"zavctl", "env", "new", "--protocol", "https"}), ElementsAre(Key("https")));
        EXPECT_EQ((std::set<std::string>{"bash", "fish", "zsh"}),
                  NamesOf(OffersOf(shell, {"zavctl", "completion", ""})));
    }
    EXPECT_THAT(OffersOf("bash", {"zavctl", "init", "--output", "=", "j"}), ElementsAre(Key("json")))
        << "bash hands --output=j over in three words";
    EXPECT_THAT(OffersOf("bash", {"zavctl", "init", "--output", "="}), ElementsAre(Key("json"), Key("table")));
    EXPECT_THAT(OffersOf("zsh", {"zavctl", "init", "--output=j"}), ElementsAre(Key("json")));
    EXPECT_THAT(OffersOf("fish", {"zavctl", "init", "--output=j"}), ElementsAre(Key("--output=json")));
}

TEST_F(ZavctlCompletionTest, FilesAreOfferedWhereTheyAreMeantAndNowhereElse)
{
    const std::string file = Directory() + "/only-one.json";
    WriteText(file, "{}");
    const std::string beginning = Directory() + "/only";
    for (const std::string shell : {"zsh", "fish"}) {
        for (const Words& meant : {Words{"zavctl", "init", "--env"}, Words{"zavctl", "env", "check"}}) {
            Words words = meant;
            words.push_back(beginning);
            EXPECT_THAT(OffersOf(shell, words), ElementsAre(Key(HasSubstr("only-one.json")))) << shell;
        }
        EXPECT_THAT(OffersOf(shell, {"zavctl", "init", beginning}), IsEmpty()) << shell;
        EXPECT_THAT(OffersOf(shell, {"zavctl", "env", "new", "--user", beginning}), IsEmpty()) << shell;
    }
    EXPECT_THAT(OffersOf("bash", {"zavctl", "init", "--env", beginning}), ElementsAre(Key("FILES")));
    EXPECT_THAT(OffersOf("bash", {"zavctl", "env", "check", beginning}), ElementsAre(Key("FILES")));
    EXPECT_THAT(OffersOf("bash", {"zavctl", "init", beginning}), IsEmpty());
    EXPECT_THAT(OffersOf("bash", {"zavctl", "env", "new", "--user", beginning}), IsEmpty());
}

TEST_F(ZavctlCompletionTest, ValueThatReadsAsACommandIsNone)
{
    for (const std::string shell : SHELLS) {
        EXPECT_THAT(OffersOf(shell, {"zavctl", "env", "new", "--user", "check", "--a"}), ElementsAre(Key("--address")))
            << shell;
    }
}

TEST_F(ZavctlCompletionTest, ZshAndFishTellWhatEachIs)
{
    for (const std::string shell : {"zsh", "fish"}) {
        EXPECT_THAT(OffersOf(shell, {"zavctl", "inventory", "--p"}),
                    ElementsAre(Pair("--page-size", "LUNs to a request (500)")));
        EXPECT_THAT(OffersOf(shell, {"zavctl", "inv"}),
                    ElementsAre(Pair("inventory", "Print an array's system, ports, pools and LUNs")));
        EXPECT_THAT(OffersOf(shell, {"zavctl", "e"}), ElementsAre(Pair("env", "Environments: make one, check one")));
    }
}

TEST_F(ZavctlCompletionTest, BashCompletesFilesInItsOwnWayOnATerminal)
{
    WriteText(Directory() + "/it's the one.json", "{}");
    WriteText(Directory() + "/rc", "PS1='ready> '\nsource " + Script("bash") + "\n");
    Terminal terminal;
    Process bash(
        {"bash", "-c",
         "cd " + Directory() + "; exec bash --rcfile rc -i <" + terminal.Path() + " >" + terminal.Path() + " 2>&1"},
        {"TERM=dumb", "HISTFILE="});
    terminal.WaitFor("ready> ");
    terminal.Type("zavctl ini\t--env it\t");
    terminal.WaitFor("zavctl init --env it\\'s\\ the\\ one.json ");
    terminal.Type("-o j\t");
    terminal.WaitFor("-o json ");
    terminal.Type("\x15"
                  "exit\n");
    EXPECT_EQ(0, bash.Wait());
}

TEST_F(ZavctlCompletionTest, ScriptIsPrintedWhateverTheConfigurationIs)
{
    Configure({{"Http.VerifyPeer", "perhaps"}});
    EXPECT_EQ(7, RunZavctl({"init", "--env", "x"}).status);
    for (const std::string shell : SHELLS) {
        const Base::ProgramResult outcome = RunZavctl({"completion", shell});
        EXPECT_EQ(0, outcome.status);
        EXPECT_EQ("", outcome.errors);
        EXPECT_THAT(outcome.output, HasSubstr("made by \"zavctl completion " + shell + "\""));
    }
}

TEST_F(ZavctlCompletionTest, ShellThatIsNotKnownIsAUsageError)
{
    const Base::ProgramResult outcome = RunZavctl({"completion", "ksh"});
    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, HasSubstr("ksh not in {bash,zsh,fish}"));
}

} // namespace

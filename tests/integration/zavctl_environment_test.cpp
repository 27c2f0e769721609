#include "tests/integration/stage.h"
#include "tests/integration/terminal.h"

#include <gmock/gmock.h>

#include <csignal>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// Where zavctl takes its environments from.
class ZavctlEnvironmentTest : public Stage {
protected:
    Base::ProgramResult RunNamed(const std::string& names, const Process::Arguments& arguments) const
    {
        Process::Arguments command = {ProductPath("bin/zavctl")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunToEnd(command, {"ZAVCTL_ENV=" + names});
    }

    /// What the command line is refused with.
    void ExpectRefusal(const Base::ProgramResult& outcome, const std::string& why) const
    {
        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ("zavctl: " + why +
                      "\nzavctl: remedy: zavctl --help, or --help behind the command, tells what it takes\n",
                  outcome.errors);
        EXPECT_EQ("", outcome.output);
    }
};

TEST_F(ZavctlEnvironmentTest, StandardInputIsAnEnvironmentToo)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string text = ReadText(EnvironmentFileOf(array));
    for (const char* const command : {"init", "inventory", "tidy", "cleanup"}) {
        const Base::ProgramResult outcome = RunZavctl({command, "--env", "-"}, text);
        EXPECT_EQ(0, outcome.status) << command << ": " << outcome.errors;
        EXPECT_THAT(outcome.errors, StartsWith("zavctl: standard input: logging into the array at "));
    }
}

TEST_F(ZavctlEnvironmentTest, StandardInputThatHoldsNoEnvironmentIsNamed)
{
    for (const std::string& text : {std::string("what\n"), std::string(1048577, ' ')}) {
        const Base::ProgramResult outcome = RunZavctl({"init", "--env", "-"}, text);
        EXPECT_EQ(7, outcome.status);
        EXPECT_THAT(outcome.errors,
                    AllOf(StartsWith("zavctl: environment standard input: "),
                          HasSubstr("zavctl: remedy: correct the file (zavctl env check names each fault), make it "
                                    "with zavctl env new, or name another with --env")));
    }
    EXPECT_THAT(RunZavctl({"init", "--env", "-"}).errors, HasSubstr("zavctl: environment standard input: it is empty"));
}

TEST_F(ZavctlEnvironmentTest, FileThatNeverEndsIsRefused)
{
    const Base::ProgramResult outcome = RunZavctl({"init", "--env", "/dev/zero"});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors,
                StartsWith("zavctl: environment /dev/zero: File too large\nzavctl: remedy: correct the file"));
}

TEST_F(ZavctlEnvironmentTest, ShellMayHandOverWhatAnotherProgramPrints)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const Base::ProgramResult outcome = RunToEnd({"bash", "-c", "exec \"$0\" inventory --env <(cat \"$1\")",
                                                  ProductPath("bin/zavctl"), EnvironmentFileOf(array)});
    EXPECT_EQ(0, outcome.status) << outcome.errors;
}

TEST_F(ZavctlEnvironmentTest, StandardInputIsReadOnceOnly)
{
    ExpectRefusal(RunZavctl({"init", "--env", "-", "--env", "-"}, "{}"),
                  "--env -: standard input can be read only once");
    ExpectRefusal(RunNamed("-:-", {"init"}), "--env -: standard input can be read only once");
}

TEST_F(ZavctlEnvironmentTest, WatchGoesOnWithWhatStandardInputSaid)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::unique_ptr<Process> zavctl =
        StartZavctl({"init", "--env", "-", "--watch", "1"}, ReadText(EnvironmentFileOf(array)));
    zavctl->AwaitLine("MAPPING VIEW NAME");
    array.EndSessions();
    zavctl->AwaitError(" recovered: standard input");
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait()) << zavctl->Errors();
}

TEST_F(ZavctlEnvironmentTest, VariableNamesWhatTheCommandLineDoesNot)
{
    const Array& first = StartArray();
    const Array& second = StartArray();
    StartTargets({first.Options().serviceIps[0], second.Options().serviceIps[0]});
    const std::string envOfFirst = EnvironmentFileOf(first);
    const std::string envOfSecond = EnvironmentFileOf(second);

    const Base::ProgramResult both = RunNamed(envOfFirst + ":" + envOfSecond + ":", {"init"});
    EXPECT_EQ(0, both.status) << both.errors;
    EXPECT_THAT(both.output, AllOf(HasSubstr(first.Options().serial), HasSubstr(second.Options().serial)));

    const Base::ProgramResult one = RunNamed(envOfSecond, {"inventory"});
    EXPECT_EQ(0, one.status) << one.errors;
    EXPECT_THAT(one.output, HasSubstr(second.Options().serial));

    const Base::ProgramResult given = RunNamed(envOfSecond, {"inventory", "--env", envOfFirst});
    EXPECT_EQ(0, given.status) << given.errors;
    EXPECT_THAT(given.output, AllOf(HasSubstr(first.Options().serial), Not(HasSubstr(second.Options().serial))));
}

TEST_F(ZavctlEnvironmentTest, CommandForOneEnvironmentChoosesNoneOfSeveral)
{
    for (const char* const command : {"inventory", "tidy", "cleanup"}) {
        ExpectRefusal(RunNamed("/one.json:/other.json", {command}),
                      "ZAVCTL_ENV: names 2 environments, and this command takes one: name it with --env");
    }
}

TEST_F(ZavctlEnvironmentTest, CommandWithoutAnyEnvironmentIsRefused)
{
    for (const char* const command : {"init", "inventory", "tidy", "cleanup"}) {
        const std::string why = "An environment, by --env or ZAVCTL_ENV, is required";
        ExpectRefusal(RunZavctl({command}), why);
        ExpectRefusal(RunNamed("", {command}), why);
        ExpectRefusal(RunNamed("/some.json", {command, "--env", ""}), "--env: names no file");
    }
}

TEST_F(ZavctlEnvironmentTest, NewEnvironmentPreparesTheNode)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartArray(options);
    StartTargets(array.Options().serviceIps);
    const Base::ProgramResult outcome =
        RunZavctl({"env", "new", "--address", Address(0) + "," + Address(1), "--user", "admin", "--new-key"},
                  std::string(PASSWORD) + "\n");
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("zavctl: made a new key, " + Directory() + "/product.key: keep a copy of it in a safe place\n",
              outcome.errors);
    EXPECT_THAT(outcome.output,
                AllOf(StartsWith("{\n  \"managementIps\": [\"" + Address(0) + "\"],\n  \"userNames\": [\"admin\"],\n"),
                      HasSubstr("\"allManagementIps\": [\"" + Address(0) + "\", \"" + Address(1) + "\"]\n}\n"),
                      Not(HasSubstr(PASSWORD))));
    const std::string path = Directory() + "/new.json";
    WriteText(path, outcome.output);
    const Base::ProgramResult check = RunZavctl({"env", "check", path});
    EXPECT_EQ(0, check.status);
    EXPECT_EQ("zavctl: environment " + path + " is sound\n", check.errors);
    EXPECT_EQ(0, RunZavctl({"init", "--env", path}).status);
}

TEST_F(ZavctlEnvironmentTest, NewEnvironmentOfAddressesThatAreRepeated)
{
    EncryptedPassword(); // with the node's key, which is there from now on
    const Base::ProgramResult outcome = RunZavctl({"env", "new", "--address", "fd00::1", "--address", "array.example",
                                                   "--user", "admin", "--port", "443", "--protocol", "http"},
                                                  "secret\n");
    ASSERT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("\"managementIps\": [\"[fd00::1]\"]"), HasSubstr("\"ports\": [443]"),
                                      HasSubstr("\"protocols\": [1]"),
                                      HasSubstr("\"allManagementIps\": [\"[fd00::1]\", \"array.example\"]")));
    EXPECT_EQ("zavctl: warning: standard output: protocols[0] is 1: http sends the password in the clear\n",
              outcome.errors);
}

TEST_F(ZavctlEnvironmentTest, NewEnvironmentIsNotGuessed)
{
    const Base::ProgramResult outcome = RunZavctl({"env", "new", "--user", "admin"}, "secret\n");
    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, StartsWith("zavctl: nobody is there to ask: tell --address and --user\n"));

    const Base::ProgramResult keyless = RunZavctl({"env", "new", "--user", "u", "--address", "a"}, "secret\n");
    EXPECT_EQ(7, keyless.status);
    EXPECT_THAT(keyless.errors, AllOf(HasSubstr("there is no key in"), HasSubstr("remedy: add --new-key")));
    EXPECT_EQ("", keyless.output);

    for (const Process::Arguments& wrong :
         {Process::Arguments{"--address", "10.0.0.256"}, Process::Arguments{"--address", "a,b c"},
          Process::Arguments{"--port", "0"}, Process::Arguments{"--protocol", "ftp"}}) {
        EXPECT_EQ(2, RunZavctl({"env", "new", "--user", "u", wrong[0], wrong[1]}, "secret\n").status) << wrong[1];
    }
}

TEST_F(ZavctlEnvironmentTest, NewEnvironmentIsAskedForOnATerminal)
{
    EncryptedPassword(); // with the node's key, which is there from now on
    Terminal terminal;
    Process zavctl(
        {"/bin/sh", "-c", R"(exec "$@" <"$TERMINAL" 2>"$TERMINAL")", "sh", ProductPath("bin/zavctl"), "env", "new"},
        {"TERMINAL=" + terminal.Path()});
    terminal.WaitFor("Management addresses, first the one to log in at: ");
    terminal.Type("10.0.0.1, 10.0.0.256\n");
    terminal.WaitFor("please answer again: it is \"10.0.0.256\"");
    terminal.Type("10.0.0.1, fd00::1\n");
    terminal.WaitFor("Port [8088]: ");
    terminal.Type("\n");
    terminal.WaitFor("Protocol, https or http [https]: ");
    terminal.Type("\n");
    terminal.WaitFor("User: ");
    terminal.Type("admin\n");
    terminal.WaitFor("Password of admin: ");
    EXPECT_FALSE(terminal.IsEchoing());
    terminal.Type("open sesame\n");
    EXPECT_EQ(0, zavctl.Wait()) << terminal.Shown();
    EXPECT_THAT(terminal.Shown(), Not(HasSubstr("sesame")));
    EXPECT_THAT(zavctl.Output(), AllOf(HasSubstr("\"managementIps\": [\"10.0.0.1\"]"), HasSubstr("\"ports\": [8088]"),
                                       HasSubstr("\"allManagementIps\": [\"10.0.0.1\", \"[fd00::1]\"]")));
}

TEST_F(ZavctlEnvironmentTest, CheckNamesEveryFaultAtOnce)
{
    EncryptedPassword(); // with the node's key, which is there from now on
    const std::string path = Directory() + "/wrong.json";
    WriteText(path, R"({"managementIps": ["fd00::1"], "encryptedPasswords": ["AES256GCM.1.x"], "ports": [0],)"
                    R"( "protocols": [7], "user": ["admin"]})");
    const Base::ProgramResult outcome = RunZavctl({"env", "check", path});
    EXPECT_EQ(7, outcome.status);
    const std::string begin = "zavctl: " + path + ": ";
    EXPECT_THAT(outcome.errors,
                AllOf(HasSubstr(begin + "user: Cannot find field"), HasSubstr(begin + "userNames is missing"),
                      HasSubstr(begin + "managementIps[0] is an IPv6 address without brackets: [fd00::1]\n"),
                      HasSubstr(begin + "encryptedPasswords[0] cannot be decrypted: it was made with another key"),
                      HasSubstr(begin + "ports[0] is 0"), HasSubstr("zavctl: warning: " + path + ": protocols[0] is 7"),
                      HasSubstr("zavctl: environment " + path + ": 5 fault(s), see above\nzavctl: remedy: correct")));
    EXPECT_EQ("", outcome.output);
}

TEST_F(ZavctlEnvironmentTest, CheckTellsThatThereIsNoKeyToDecryptWith)
{
    const std::string path = Directory() + "/env.json";
    WriteText(path, R"({"managementIps": ["a"], "userNames": ["u"], "encryptedPasswords": ["x"], "ports": [1],)"
                    R"( "protocols": [0], "allManagementIps": ["a"]})");
    const Base::ProgramResult outcome = RunZavctl({"env", "check", path});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("encryptedPasswords[0] cannot be decrypted: there is no key in " +
                                          Directory() + "/product.key yet\n"));
    EXPECT_EQ("", ReadText(Directory() + "/product.key")) << "looking makes none";
}

TEST_F(ZavctlEnvironmentTest, CheckOfAFileThatCannotBeReadNamesIt)
{
    const Base::ProgramResult outcome = RunZavctl({"env", "check", "/no/such/env.json"});
    EXPECT_EQ(7, outcome.status);
    EXPECT_THAT(outcome.errors, StartsWith("zavctl: environment /no/such/env.json: No such file or directory\n"));
    EXPECT_EQ(2, RunZavctl({"env", "check"}).status);
}

} // namespace

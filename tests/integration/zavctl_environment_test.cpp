#include "tests/integration/stage.h"

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
        EXPECT_EQ(why + "\nRun with --help for more information.\n", outcome.errors);
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
        EXPECT_THAT(outcome.errors, AllOf(StartsWith("zavctl: environment standard input: "),
                                          HasSubstr("zavctl: remedy: correct the file, or name another with --env")));
    }
    EXPECT_THAT(RunZavctl({"init", "--env", "-"}).errors,
                HasSubstr("zavctl: environment standard input: Unexpected end of string"));
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

} // namespace

#include "tests/integration/stage.h"
#include "tests/support/slowness.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <functional>

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

/// Signals in the middle of a command: it ends soon, and leaves neither session nor child.
class ZavctlSignalsTest : public Stage {
protected:
    using Seconds = std::chrono::duration<double>;

    static void AwaitRequest(const Array& array, const std::string& start)
    {
        WaitUntil(start, [&] {
            for (const std::string& request : array.Requests()) {
                if (request.rfind(start, 0) == 0) {
                    return true;
                }
            }
            return false;
        });
    }

    /// Sends the signal and tells how long the process took to end.
    static double SecondsToEnd(Process& process, int signal, int expectedStatus)
    {
        const auto begin = std::chrono::steady_clock::now();
        process.Signal(signal);
        EXPECT_EQ(expectedStatus, process.Wait()) << process.Errors();
        return Seconds(std::chrono::steady_clock::now() - begin).count();
    }

    /// The last two lines of a command that a signal ended behind this step.
    static std::string LastLines(const std::string& signal, const std::string& step)
    {
        return "zavctl: ended by " + signal + ", at the step: " + step +
               "\nzavctl: remedy: run the command again; it goes on from what was done\n";
    }

    void MakeIscsiadm(const std::string& script) const { WriteProgram(Directory() + "/node/bin/iscsiadm", script); }
};

TEST_F(ZavctlSignalsTest, SignalInTheLoginEndsItAtOnce)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "silent", "method": "POST", "target": "sessions"})");
    const auto zavctl = StartZavctl({"inventory", "--env", env});
    AwaitRequest(array, "POST sessions");
    EXPECT_LT(SecondsToEnd(*zavctl, SIGINT, 128 + SIGINT), 2.0 * SLOWNESS);
    EXPECT_THAT(zavctl->Errors(),
                EndsWith(LastLines("SIGINT", env + ": logging into the array at " + array.Options().managementIps[0])));
}

TEST_F(ZavctlSignalsTest, SignalInARequestLogsOut)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    for (const int signal : {SIGTERM, SIGHUP}) {
        array.AddFault(R"({"kind": "silent", "method": "GET", "target": "storagepool"})");
        const auto zavctl = StartZavctl({"inventory", "--env", env});
        AwaitRequest(array, "GET storagepool");
        EXPECT_LT(SecondsToEnd(*zavctl, signal, 128 + signal), 2.0 * SLOWNESS);
        EXPECT_THAT(zavctl->Errors(), EndsWith(LastLines(signal == SIGTERM ? "SIGTERM" : "SIGHUP",
                                                         env + ": logged in at " + array.Url() +
                                                             ", service addresses " + array.Options().serviceIps[0])));
        EXPECT_EQ("DELETE sessions", array.Requests().back());
        EXPECT_EQ(0U, array.SessionCount());
        array.ClearJournal();
    }
}

TEST_F(ZavctlSignalsTest, ArrayThatDoesNotAnswerTheLogoutIsLeftAfterASecond)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "silent", "target": "storagepool|sessions$", "method": "GET"})");
    array.AddFault(R"({"kind": "silent", "target": "sessions$", "method": "DELETE", "count": 0})");
    const auto zavctl = StartZavctl({"inventory", "--env", env});
    AwaitRequest(array, "GET storagepool");
    EXPECT_LT(SecondsToEnd(*zavctl, SIGTERM, 128 + SIGTERM), 2.0 * SLOWNESS);
}

TEST_F(ZavctlSignalsTest, CommandThatRunsIsEndedWithItsOwner)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    MakeIscsiadm("echo $$ >" + Directory() + "/child\nexec sleep 60\n");
    const auto zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array)});
    WaitUntil("the command", [this] { return !ReadText(Directory() + "/child").empty(); });
    EXPECT_LT(SecondsToEnd(*zavctl, SIGINT, 128 + SIGINT), 2.0 * SLOWNESS);
    EXPECT_THAT(zavctl->Errors(), EndsWith(LastLines("SIGINT", "preparing this node; iscsiadm was running")));
    const int child = std::stoi(ReadText(Directory() + "/child"));
    WaitUntil("the command's end", [child] { return ::kill(child, 0) != 0; });
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlSignalsTest, CommandThatDoesNotEndIsKilledAfterItsGrace)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    MakeIscsiadm("trap '' INT TERM HUP\necho $$ >" + Directory() + "/child\nwhile :; do sleep 1; done\n");
    const auto zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array)});
    WaitUntil("the command", [this] { return !ReadText(Directory() + "/child").empty(); });
    const double seconds = SecondsToEnd(*zavctl, SIGTERM, 128 + SIGTERM);
    EXPECT_GE(seconds, 5.0);
    EXPECT_LT(seconds, 7.0 * SLOWNESS);
    const int child = std::stoi(ReadText(Directory() + "/child"));
    WaitUntil("the command's end", [child] { return ::kill(child, 0) != 0; });
}

TEST_F(ZavctlSignalsTest, WatchThatIsInARoundThatHangsEndsToo)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const auto zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array), "--watch", "1"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    array.AddFault(R"({"kind": "silent", "method": "GET", "target": "/hostgroup/"})");
    array.AwaitFaultsHit();
    EXPECT_LT(SecondsToEnd(*zavctl, SIGTERM, 128 + SIGTERM), 3.0 * SLOWNESS);
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlSignalsTest, WatchThatPausesEndsAtOnceWithTheCodeOfItsLastRound)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const auto zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array), "--watch", "3600"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    EXPECT_LT(SecondsToEnd(*zavctl, SIGINT, 0), 2.0 * SLOWNESS);
    EXPECT_THAT(zavctl->Errors(), EndsWith("zavctl: stopped\n"));
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlSignalsTest, WatchWhoseFirstRoundIsOverEndsWithItsCodeBeforeItPauses)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string table = Directory() + "/table";
    const std::string asked = Directory() + "/asked";
    const std::string answer = Directory() + "/answer";
    ASSERT_EQ(0, ::mkfifo(answer.c_str(), 0600));
    const Base::Descriptor answering(::open(answer.c_str(), O_RDWR | O_CLOEXEC));
    // Who asks behind the table is monitoring, at the round's end.
    MakeIscsiadm("if grep -q 'MAPPING VIEW NAME' " + table + "; then echo >" + asked + "; read -r _ <" + answer +
                 "; fi\nexec " + ProgramPath("node/iscsiadm") + " \"$@\"\n");
    Process zavctl({"/bin/sh", "-c",
                    "exec " + ProductPath("bin/zavctl") + " init --watch 3600 --metrics " + Directory() +
                        "/metrics.prom --env " + EnvironmentFileOf(array) + " >" + table});
    WaitUntil("the end of the round", [&asked] { return !ReadText(asked).empty(); });
    zavctl.Signal(SIGTERM);
    ASSERT_EQ(1, ::write(answering.Get(), "\n", 1));
    EXPECT_EQ(0, zavctl.Wait()) << zavctl.Errors();
    EXPECT_THAT(zavctl.Errors(), EndsWith("zavctl: stopped\n"));
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlSignalsTest, WatchWhoseSessionLayIdleEndsWithoutAnotherLogin)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const auto zavctl = StartZavctl({"init", "--env", EnvironmentFileOf(array), "--watch", "3600"});
    zavctl->AwaitLine("MAPPING VIEW NAME");
    WaitUntil("the idle session's end", [&array] { return array.SessionCount() == 0; });
    array.AddFault(R"({"kind": "silent", "method": "POST", "target": "sessions", "count": 0})");
    array.ClearJournal();
    EXPECT_LT(SecondsToEnd(*zavctl, SIGTERM, 0), 2.0 * SLOWNESS);
    EXPECT_THAT(zavctl->Errors(), EndsWith("zavctl: stopped\n"));
    EXPECT_THAT(array.Requests(), ::testing::IsEmpty());
}

TEST_F(ZavctlSignalsTest, SignalInTheLogoutWaitsForIt)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "delay", "milliseconds": 400, "method": "DELETE", "target": "sessions"})");
    const auto zavctl = StartZavctl({"inventory", "--env", env});
    AwaitRequest(array, "DELETE sessions");
    zavctl->Signal(SIGTERM);
    zavctl->Wait();
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlSignalsTest, SignalWhileAClusterIsReadLogsOut)
{
    const Cluster& cluster = StartCluster();
    cluster.AddFault(R"({"kind": "silent", "method": "GET", "target": "serial|sn"})");
    const auto zavctl =
        StartZavctl({"cluster", "--address", cluster.Address(), "--port", Cluster::PORT, "--user", "admin"},
                    std::string(PASSWORD) + "\n");
    zavctl->AwaitError("trying to read the serial number");
    ASSERT_EQ(1U, cluster.SessionCount());
    EXPECT_LT(SecondsToEnd(*zavctl, SIGTERM, 128 + SIGTERM), 2.0 * SLOWNESS);
    EXPECT_EQ(0U, cluster.SessionCount());
}

#if !defined(SANITIZES_THREADS) // whose own end of a process flushes standard output, and waits for the reader
TEST_F(ZavctlSignalsTest, ReaderThatHasStoppedDoesNotKeepItFromEnding)
{
    ArrayOptions options;
    options.further = {"--luns", "3000"};
    const Array& array = StartArray(options);
    const std::string pipe = Directory() + "/pipe";
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    const Base::Descriptor reader(::open(pipe.c_str(), O_RDWR | O_CLOEXEC)); // and never reads
    Process zavctl({"/bin/sh", "-c",
                    "exec " + ProductPath("bin/zavctl") + " inventory --env " + EnvironmentFileOf(array) + " >" + pipe +
                        " 2>" + pipe});
    WaitUntil("a full pipe", [&reader] {
        int bytes = 0; // a page may have room that the next piece does not fit into
        return ::ioctl(reader.Get(), FIONREAD, &bytes) == 0 && bytes > ::fcntl(reader.Get(), F_GETPIPE_SZ) * 3 / 4;
    });
    EXPECT_LT(SecondsToEnd(zavctl, SIGTERM, 128 + SIGTERM), 3.0 * SLOWNESS);
    EXPECT_EQ(0U, array.SessionCount());
}
#endif

TEST_F(ZavctlSignalsTest, ReaderThatWentAwayEndsACommandWhichLogsOut)
{
    ArrayOptions options;
    options.further = {"--luns", "3000"};
    const Array& array = StartArray(options);
    const std::string env = EnvironmentFileOf(array);
    for (const char* const command : {"luns --all", "luns --all -o json", "inventory", "inventory -o json", "system"}) {
        array.ClearJournal();
        const std::string status = Directory() + "/status";
        const Base::ProgramResult ended = RunToEnd(
            {"/bin/sh", "-c",
             "{ " + ProductPath("bin/zavctl") + " " + command + " --env " + env + "; echo $? >" + status + "; } | :"});
        EXPECT_EQ("141\n", ReadText(status)) << command << ended.errors;
        EXPECT_THAT(ended.errors, ::testing::Not(HasSubstr("written"))) << command;
        EXPECT_EQ(0U, array.SessionCount()) << command;
        EXPECT_LT(array.Requests().size(), 20U) << command << " asks for no more than a page that nobody reads";
    }
}

TEST_F(ZavctlSignalsTest, ReaderThatWentAwayEndsNoWatch)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string pipe = Directory() + "/pipe";
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    Base::Descriptor reader(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    Process zavctl(
        {"/bin/sh", "-c",
         "exec " + ProductPath("bin/zavctl") + " init --watch 1 --env " + EnvironmentFileOf(array) + " >" + pipe});
    zavctl.AwaitError("mapping view 1");
    WaitUntil("the first table", [&reader] {
        int bytes = 0;
        return ::ioctl(reader.Get(), FIONREAD, &bytes) == 0 && bytes > 0;
    });
    reader.Close();
    array.DeleteBehindBack("mappingview", "1");
    zavctl.AwaitError("warning: no table is shown: nobody reads standard output any more");
    array.ClearJournal();
    AwaitRequest(array, "GET mappingview"); // a further round
    EXPECT_LT(SecondsToEnd(zavctl, SIGTERM, 0), 3.0 * SLOWNESS);
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlSignalsTest, SignalThatIsIgnoredFromTheStartEndsNothing)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    Process zavctl(
        {"/bin/sh", "-c",
         "trap '' HUP; exec " + ProductPath("bin/zavctl") + " init --watch 1 --env " + EnvironmentFileOf(array)});
    zavctl.AwaitLine("MAPPING VIEW NAME");
    zavctl.Signal(SIGHUP);
    array.ClearJournal();
    AwaitRequest(array, "GET mappingview"); // a further round
    EXPECT_LT(SecondsToEnd(zavctl, SIGTERM, 0), 3.0 * SLOWNESS);
}

TEST_F(ZavctlSignalsTest, TimeoutEndsACommandLogsOutAndTellsWhatItWasAbout)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "silent", "method": "GET", "target": "storagepool"})");
    const auto begin = std::chrono::steady_clock::now();
    const Base::ProgramResult outcome = RunZavctl({"inventory", "--env", env, "--timeout", "1"});
    EXPECT_LT(Seconds(std::chrono::steady_clock::now() - begin).count(), 3.0 * SLOWNESS);
    EXPECT_EQ(8, outcome.status);
    EXPECT_THAT(outcome.errors, EndsWith("zavctl: given up after 1 s, at the step: " + env + ": logged in at " +
                                         array.Url() + ", service addresses " + array.Options().serviceIps[0] +
                                         "\nzavctl: remedy: look whether what it waited for answers, or give more time "
                                         "with --timeout\n"));
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlSignalsTest, EndOfACommandThatWasToAnswerInJsonIsItsAnswer)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    const std::string silence = R"({"kind": "silent", "method": "GET", "target": "storagepool"})";
    array.AddFault(silence);
    const Base::ProgramResult late = RunZavctl({"pools", "--env", env, "-o", "json", "--timeout", "1"});
    EXPECT_EQ(8, late.status);
    const Json::Value given = ParseJsonText(late.output);
    EXPECT_EQ("zavctl/1", given["schema"].asString());
    EXPECT_EQ(8, given["error"]["exit"].asInt());
    const std::string cause = given["error"]["cause"].asString();
    EXPECT_THAT(cause, StartsWith("given up after 1 s, at the step: "));
    EXPECT_THAT(late.errors,
                EndsWith("zavctl: " + cause + "\nzavctl: remedy: " + given["error"]["remedy"].asString() + "\n"));

    array.ClearJournal();
    array.AddFault(silence);
    const auto zavctl = StartZavctl({"inventory", "--env", env, "-o", "json"});
    AwaitRequest(array, "GET storagepool");
    EXPECT_LT(SecondsToEnd(*zavctl, SIGTERM, 128 + SIGTERM), 2.0 * SLOWNESS);
    EXPECT_EQ(128 + SIGTERM, ParseJsonText(zavctl->Output())["error"]["exit"].asInt());
}

TEST_F(ZavctlSignalsTest, AnswerInJsonThatHasBegunIsLeftAsItStands)
{
    ArrayOptions options;
    options.further = {"--luns", "1203"};
    const Array& array = StartArray(options);
    array.AddFault(R"({"kind": "silent", "method": "GET", "target": "lun.range", "skip": 1})");
    const auto zavctl = StartZavctl({"luns", "--all", "--env", EnvironmentFileOf(array), "-o", "json"});
    AwaitRequest(array, "GET lun?range=[500-");
    EXPECT_LT(SecondsToEnd(*zavctl, SIGTERM, 128 + SIGTERM), 2.0 * SLOWNESS);
    EXPECT_THAT(zavctl->Output(), StartsWith("{"));
    EXPECT_THAT(zavctl->Output(), ::testing::Not(HasSubstr("ended by")));
    EXPECT_THAT(zavctl->Errors(), HasSubstr("zavctl: ended by SIGTERM"));
}

TEST_F(ZavctlSignalsTest, TimeoutThatIsNotReachedChangesNothing)
{
    const Array& array = StartArray();
    EXPECT_EQ(0, RunZavctl({"--timeout", "60", "inventory", "--env", EnvironmentFileOf(array)}).status);
}

} // namespace

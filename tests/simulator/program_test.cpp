#include "tests/simulator/support/array_client.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;
using ZavSim::Code;

class ProgramTest : public ::testing::Test {
protected:
    Base::ProgramResult RunZavsim(std::vector<std::string> words)
    {
        words.insert(words.begin(), ZAVSIM_PROGRAM);
        words.insert(words.end(), {"--ca", folder.File("ca")});
        return RunToEnd(words);
    }

    /// The first address that the program told.
    static std::string UrlOf(const Process& zavsim)
    {
        std::smatch url;
        const std::string line = zavsim.Output();
        EXPECT_TRUE(std::regex_search(line, url, std::regex("https?://[0-9.:]+"))) << line;
        return url[0].str();
    }

    TemporaryFolder folder;
};

TEST_F(ProgramTest, TellsEachAddressWhenReadyAndEndsCleanlyOnEachSignal)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Process zavsim({ZAVSIM_PROGRAM, "--ca", folder.File("ca"), "--listen", "https://127.0.0.1:0", "--listen",
                        "http://[::1]:0", "--luns", "100000"});
        zavsim.AwaitOutput("http://[::1]");
        zavsim.Signal(signal);
        const Base::ProgramResult finished = zavsim.Finish();
        EXPECT_EQ(0, finished.status);
        EXPECT_EQ("", finished.errors);
        EXPECT_THAT(finished.output, MatchesRegex("zavsim: listening on https://127\\.0\\.0\\.1:[0-9]+ \\(certificate "
                                                  "authority .*/ca\\.pem\\)\nzavsim: listening on "
                                                  "http://\\[::1\\]:[0-9]+\n"));
    }
}

TEST_F(ProgramTest, OutlivesItsTerminalUnderNohup)
{
    Process zavsim({"nohup", ZAVSIM_PROGRAM, "--ca", folder.File("ca"), "--listen", "http://127.0.0.1:0"});
    zavsim.AwaitOutput("listening");
    zavsim.Signal(SIGHUP);
    ArrayClient client(UrlOf(zavsim));
    EXPECT_CODE(Code::Success, client.Login());
    zavsim.Signal(SIGTERM);
    EXPECT_EQ(0, zavsim.Finish().status);
}

TEST_F(ProgramTest, KnowsHowTgtadmEndedWhoeverStartedIt)
{
    folder.Write("tools/tgtadm", "#!/bin/sh\n"); // of a daemon that has no targets, and takes all
    std::filesystem::permissions(folder.File("tools/tgtadm"), std::filesystem::perms::owner_all);
    Process zavsim({"env", "--ignore-signal=CHLD", ZAVSIM_PROGRAM, "--ca", folder.File("ca"), "--listen",
                    "http://127.0.0.1:0", "--service", "127.0.0.5", "--data-plane", "tgt", "--data-dir",
                    folder.File("data"), "--tgt-socket", folder.File("control.1")},
                   {"PATH=" + folder.File("tools") + ":" + std::getenv("PATH")});
    zavsim.AwaitOutput("listening");
    zavsim.Signal(SIGTERM);
    EXPECT_EQ(0, zavsim.Finish().status);
}

TEST_F(ProgramTest, ServesWithTheOptionsGiven)
{
    folder.Write("password", "from-a-file\nsecond line\n");
    Process zavsim({ZAVSIM_PROGRAM,
                    "--ca",
                    folder.File("ca"),
                    "--listen",
                    "https://127.0.0.1:0",
                    "--user",
                    "u",
                    "--password-file",
                    folder.File("password"),
                    "--serial",
                    "XY",
                    "--luns",
                    "3",
                    "--service",
                    "127.0.0.5",
                    "--service",
                    "127.0.0.6",
                    "--session-limit",
                    "1",
                    "--fc-online",
                    "2100000000000001",
                    "--fault",
                    R"({"kind":"code","code":9,"target":"system"})"});
    zavsim.AwaitOutput("\n");
    const std::string url = UrlOf(zavsim);
    ArrayClient client(url, folder.File("ca/ca.pem"));
    EXPECT_CODE(Code::LoginRefused, client.Login());
    EXPECT_CODE(Code::Success, client.Login("u", "from-a-file"));
    EXPECT_EQ("XY", client.device);
    EXPECT_CODE(9, client.Get("system/"));
    EXPECT_EQ("3", client.Get("lun/count").Data()["COUNT"].asString());
    EXPECT_EQ(2U, client.Get("eth_port?LOGICTYPE=0").Data().size());
    EXPECT_CODE(Code::SessionLimitReached, ArrayClient(url, folder.File("ca/ca.pem")).Login("u", "from-a-file"));
}

TEST_F(ProgramTest, IdsAreGivenAgainWhenItIsToldTo)
{
    for (const bool isReusing : {false, true}) {
        std::vector<std::string> command = {ZAVSIM_PROGRAM, "--listen", "http://127.0.0.1:0"};
        if (isReusing) {
            command.push_back("--reuse-ids");
        }
        Process zavsim(command);
        zavsim.AwaitOutput("\n");
        ArrayClient client(UrlOf(zavsim));
        client.Login();
        EXPECT_EQ("1", client.Post("lungroup", R"({"NAME": "first"})").Data()["ID"].asString());
        EXPECT_CODE(Code::Success, client.Delete("lungroup/1"));
        EXPECT_EQ(isReusing ? "1" : "2", client.Post("lungroup", R"({"NAME": "second"})").Data()["ID"].asString());
    }
}

TEST_F(ProgramTest, LunsThatNobodyTouchedCostNoMemory)
{
    const auto residentKilobytes = [](const char* luns) {
        Process zavsim({ZAVSIM_PROGRAM, "--listen", "http://127.0.0.1:0", "--luns", luns});
        zavsim.AwaitOutput("\n");
        ArrayClient client(UrlOf(zavsim));
        client.Login();
        EXPECT_EQ(luns, client.Get("lun/count").Data()["COUNT"].asString());
        std::ifstream status("/proc/" + std::to_string(zavsim.Pid()) + "/status");
        std::string word;
        while (status >> word && word != "VmRSS:") {
        }
        long kilobytes = 0;
        status >> kilobytes;
        EXPECT_GT(kilobytes, 0);
        return kilobytes;
    };
    EXPECT_LT(residentKilobytes("10000000"), residentKilobytes("16") + 10000) << "not one byte for each of ten million";
}

TEST_F(ProgramTest, ConnectionLimitIsToldOnceEachTimeItIsMet)
{
    constexpr int LIMIT = 4;
    Process zavsim({ZAVSIM_PROGRAM, "--listen", "http://127.0.0.1:0", "--connections", std::to_string(LIMIT)});
    zavsim.AwaitOutput("\n");
    const std::string url = UrlOf(zavsim);
    std::vector<std::unique_ptr<ArrayClient>> clients;
    const auto connect = [&clients, &url] {
        clients.push_back(std::make_unique<ArrayClient>(url));
        EXPECT_CODE(Code::Success, clients.back()->Login());
    };
    std::string told;
    for (int time = 0; time < 2; ++time) {
        for (int i = 0; i < LIMIT; ++i) {
            EXPECT_EQ(told, zavsim.Errors());
            connect();
        }
        told += "zavsim: " + url +
                ": 4 connections are open, the limit: more of them wait until one ends; --connections allows more\n";
        zavsim.AwaitError(told);
        clients.pop_back();
        connect(); // it takes the place that is free
        EXPECT_EQ(told, zavsim.Errors());
        clients.clear();
        told += "zavsim: " + url + ": connections are taken at once again\n";
        zavsim.AwaitError(told);
    }
}

TEST_F(ProgramTest, LimitOfOneConnectionIsToldOnceForAllThatComeAndGo)
{
    Process zavsim({ZAVSIM_PROGRAM, "--listen", "http://127.0.0.1:0", "--connections", "1"});
    zavsim.AwaitOutput("\n");
    const std::string url = UrlOf(zavsim);
    const std::string told = "zavsim: " + url +
                             ": 1 connections are open, the limit: more of them wait until one ends; --connections "
                             "allows more\n";
    for (int i = 0; i < 20; ++i) {
        EXPECT_CODE(Code::Success, ArrayClient(url).Login());
    }
    zavsim.Signal(SIGTERM);
    EXPECT_EQ(told, zavsim.Finish().errors);
}

TEST_F(ProgramTest, WantOfDescriptorsIsToldAsWell)
{
    namespace asio = boost::asio;
    constexpr int FILES = 32;
    Process zavsim({"/bin/sh", "-c", "ulimit -n " + std::to_string(FILES) + R"(; exec "$@")", "sh", ZAVSIM_PROGRAM,
                    "--listen", "http://127.0.0.1:0"});
    zavsim.AwaitOutput("\n");
    const std::string url = UrlOf(zavsim);
    const auto port = static_cast<unsigned short>(std::stoi(url.substr(url.rfind(':') + 1)));
    asio::io_context context;
    std::vector<asio::ip::tcp::socket> connections;
    for (int i = 0; i < FILES; ++i) {
        connections.emplace_back(context).connect({asio::ip::address_v4::loopback(), port});
    }
    zavsim.AwaitError("more of them wait until one ends; ulimit -n allows more files\n");
    EXPECT_THAT(zavsim.Errors(), MatchesRegex("zavsim: " + url +
                                              ": [0-9]+ connections are open, Too many open files: more of them .*\n"));
    connections.clear();
    zavsim.AwaitError("zavsim: " + url + ": connections are taken at once again\n");
}

TEST_F(ProgramTest, AddressInUseEndsItWithAMessage)
{
    Process first({ZAVSIM_PROGRAM, "--listen", "http://127.0.0.1:0"});
    first.AwaitOutput("\n");
    const std::string url = UrlOf(first);
    const Base::ProgramResult second = RunZavsim({"--listen", url});
    EXPECT_EQ(1, second.status);
    EXPECT_EQ("zavsim: cannot listen on " + url + ": Address already in use\n", second.errors);
    EXPECT_EQ("", second.output);
}

TEST_F(ProgramTest, AddressThatIsNotOfThisMachineEndsItWithAMessage)
{
    const Base::ProgramResult finished = RunZavsim({"--listen", "http://192.0.2.1:8088"});
    EXPECT_EQ(1, finished.status);
    EXPECT_THAT(finished.errors, HasSubstr("cannot listen on http://192.0.2.1:8088: Cannot assign requested address"));
}

TEST_F(ProgramTest, BadArgumentEndsItWithAMessageThatNamesIt)
{
    folder.Write("empty", "\n");
    const struct {
        std::vector<std::string> words;
        const char* complaint;
    } cases[] = {
        {{"--listen", "127.0.0.1:1"}, "\"127.0.0.1:1\" is not a listen address"},
        {{"--luns", "-1"}, "--luns"},
        {{"--luns", "many"}, "--luns"},
        {{"--luns", "10000001"}, "--luns"},
        {{"--pools", "0"}, "--pools"},
        {{"--service", "host.name"}, "--service: \"host.name\""},
        {{"--user", "u"}, "--password-file"},
        {{"--user", "u", "--password-file", folder.File("none")}, "there is no file"},
        {{"--user", "u", "--password-file", folder.File("empty")}, "is empty"},
        {{"--serial", "a/b"}, "--serial"},
        {{"--serial", ""}, "--serial"},
        {{"--fc-online", "12"}, "--fc-online: an FC port name must be 16 hexadecimal digits, not \"12\""},
        {{"--session-limit", "0"}, "--session-limit"},
        {{"--session-idle", "0"}, "--session-idle"},
        {{"--fault", "{"}, "--fault: not JSON"},
        {{"--fault", R"({"kind":"x"})"}, "--fault: kind"},
        {{"--what"}, "--what"},
    };
    for (const auto& each : cases) {
        const Base::ProgramResult finished = RunZavsim(each.words);
        EXPECT_EQ(2, finished.status) << each.words.front();
        EXPECT_THAT(finished.errors, StartsWith("zavsim: "));
        EXPECT_THAT(finished.errors, HasSubstr(each.complaint));
    }
}

TEST_F(ProgramTest, FolderThatCannotBeUsedEndsItWithAMessage)
{
    folder.Write("file", "");
    const Base::ProgramResult ca =
        RunToEnd({ZAVSIM_PROGRAM, "--listen", "https://127.0.0.1:0", "--ca", folder.File("file")});
    EXPECT_EQ(1, ca.status);
    EXPECT_THAT(ca.errors, HasSubstr(folder.File("file")));
    const Base::ProgramResult state = RunZavsim({"--listen", "http://127.0.0.1:0", "--state", folder.File("no/state")});
    EXPECT_EQ(1, state.status);
    EXPECT_THAT(state.errors, HasSubstr(folder.File("no/state")));
}

TEST_F(ProgramTest, StateSurvivesTheEndByForce)
{
    const std::vector<std::string> words{ZAVSIM_PROGRAM, "--listen", "http://127.0.0.1:0", "--state",
                                         folder.File("state")};
    {
        Process zavsim(words);
        zavsim.AwaitOutput("\n");
        ArrayClient client(UrlOf(zavsim));
        client.Login();
        client.Make("host", "kept");
        zavsim.Signal(SIGKILL);
        EXPECT_EQ(128 + SIGKILL, zavsim.Wait());
    }
    Process zavsim(words);
    zavsim.AwaitOutput("\n");
    ArrayClient client(UrlOf(zavsim));
    client.Login();
    EXPECT_EQ("kept", client.Get("host/1").Data()["NAME"].asString());
}

} // namespace
} // namespace ZavSimTest

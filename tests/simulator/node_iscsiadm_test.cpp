#include "tests/simulator/support/child_process.h"
#include "tests/simulator/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <thread>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// The very line by which the node's sessions are asked for.
constexpr const char* LIST_ADDRESSES =
    "iscsiadm -m  session -P 1 | awk -F ':' '/Target/{printf $7} /Connection/{print $2}' "
    "| grep LOGGED |awk '{print $1}'";

constexpr const char* ISCSIADM = ZAVSIM_NODE_FOLDER "/iscsiadm";
constexpr const char* ME = "iqn.2020-01.example.node:me";

/// The stand-in against real targets on addresses of this process alone.
class NodeIscsiadmTest : public ::testing::Test {
protected:
    NodeIscsiadmTest()
    {
        SetInitiator(ME);
        environment = {"ZAVSIM_NODE_STATE=" + folder.File("state"), "ZAVSIM_NODE_INITIATOR_FILE=" + folder.File("name"),
                       std::string("PATH=") + ZAVSIM_NODE_FOLDER + ":" + ::getenv("PATH") + ":/usr/sbin:/sbin"};
    }

    ~NodeIscsiadmTest() override
    {
        Execute({ISCSIADM, "-m", "node", "-u"}, environment);
        if (std::filesystem::exists(folder.File("target"))) {
            EXPECT_EQ(0, Execute({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
        }
    }

    static std::string Address(int last)
    {
        const int number = static_cast<int>(::getpid());
        return "127." + std::to_string(64 + number / 65536 % 128) + "." + std::to_string(number / 256 % 256) + "." +
               std::to_string(number % 84 * 3 + last);
    }

    static std::string Name(const std::string& address) { return "iqn.2020-01.example.zavsim:a:b:c:d:" + address; }

    void SetInitiator(const std::string& name) const { folder.Write("name", "InitiatorName=" + name + "\n"); }

    void StartTargets(const std::vector<std::string>& addresses)
    {
        std::vector<std::string> words{ZAVSIM_TARGET, "start", "--folder",    folder.File("target"),
                                       "--initiator", ME,      "--megabytes", "8"};
        words.insert(words.end(), addresses.begin(), addresses.end());
        const Finished finished = Execute(words, environment);
        ASSERT_EQ(0, finished.status) << finished.err << "(Debian's package tgt has tgtd)";
    }

    Finished Discover(const std::string& address)
    {
        return Execute({ISCSIADM, "-m", "discovery", "--op=new", "-t", "st", "-p", address}, environment);
    }
    Finished Login(const std::string& address)
    {
        return Execute({ISCSIADM, "-m", "node", "-p", address, "-l"}, environment);
    }
    Finished Logout() { return Execute({ISCSIADM, "-m", "node", "-u"}, environment); }
    Finished List() { return Execute({ISCSIADM, "-m", "session", "-P", "1"}, environment); }
    Finished ListAddresses() { return RunShell(LIST_ADDRESSES, environment); }

    /// "[…target: …, portal: …]" as the lines about logins have it.
    static std::string Bracket(const std::string& address)
    {
        return "[iface: default, target: " + Name(address) + ", portal: " + address + ",3260]";
    }

    /// The process that keeps the only session.
    pid_t Keeper() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(folder.File("state"))) {
            const std::string name = entry.path().filename();
            if (name.rfind("session-", 0) == 0) {
                const std::string text = folder.Read("state/" + name);
                return std::stoi(text.substr(text.find("\"pid\" : ") + 8));
            }
        }
        ADD_FAILURE() << "no session";
        return -1;
    }

    TemporaryFolder folder;
    Environment environment;
    const std::string here = Address(1);
    const std::string there = Address(2);
};

TEST_F(NodeIscsiadmTest, DiscoveryListsTheTargetOfThePortal)
{
    StartTargets({here, there});
    const Finished found = Discover(here);
    EXPECT_EQ(0, found.status);
    EXPECT_EQ(here + ":3260,1 " + Name(here) + "\n", found.out);
    EXPECT_EQ("", found.err);
    EXPECT_EQ(there + ":3260,1 " + Name(there) + "\n", Discover(there).out);
}

TEST_F(NodeIscsiadmTest, DiscoveryWhereNothingListensTellsItSixTimes)
{
    const Finished refused = Discover(here);
    const std::string line = "iscsiadm: cannot make connection to " + here + ": Connection refused\n";
    EXPECT_EQ(11, refused.status);
    EXPECT_EQ("", refused.out);
    EXPECT_EQ(line + line + line + line + line + line +
                  "iscsiadm: connection login retries (reopen_max) 5 exceeded\n"
                  "iscsiadm: Could not perform SendTargets discovery: iSCSI PDU timed out\n",
              refused.err);
}

TEST_F(NodeIscsiadmTest, DiscoveryByAnInitiatorThatSeesNothing)
{
    StartTargets({here});
    SetInitiator("iqn.2020-01.example.node:stranger");
    const Finished nothing = Discover(here);
    EXPECT_EQ(21, nothing.status);
    EXPECT_EQ("", nothing.out);
    EXPECT_EQ("iscsiadm: No portals found\n", nothing.err);
}

TEST_F(NodeIscsiadmTest, LoginKeepsASessionThatTheListShowsByAddress)
{
    StartTargets({here});
    Discover(here);
    const Finished login = Login(here);
    EXPECT_EQ(0, login.status) << login.err;
    EXPECT_EQ("Logging in to " + Bracket(here) + "\nLogin to " + Bracket(here) + " successful.\n", login.out);
    EXPECT_EQ("", login.err);
    const Finished addresses = ListAddresses();
    EXPECT_EQ(0, addresses.status);
    EXPECT_EQ(here + "\n", addresses.out);
    EXPECT_EQ("", addresses.err);
}

TEST_F(NodeIscsiadmTest, ListHasTheFormOfTheRealTool)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    EXPECT_EQ("Target: " + Name(here) + " (non-flash)\n" + "\tCurrent Portal: " + here +
                  ":3260,1\n"
                  "\tPersistent Portal: " +
                  here +
                  ":3260,1\n"
                  "\t\t**********\n\t\tInterface:\n\t\t**********\n"
                  "\t\tIface Name: default\n\t\tIface Transport: tcp\n\t\tIface Initiatorname: " +
                  ME +
                  "\n"
                  "\t\tIface IPaddress: [default]\n\t\tIface HWaddress: default\n\t\tIface Netdev: default\n"
                  "\t\tSID: 1\n\t\tiSCSI Connection State: LOGGED IN\n\t\tiSCSI Session State: LOGGED_IN\n"
                  "\t\tInternal iscsid Session State: NO CHANGE\n",
              List().out);
}

TEST_F(NodeIscsiadmTest, SecondLoginSaysThatTheSessionIsThere)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    const Finished second = Login(here);
    EXPECT_EQ(15, second.status);
    EXPECT_EQ("", second.out);
    EXPECT_EQ("iscsiadm: default: 1 session requested, but 1 already present.\n"
              "iscsiadm: Could not log into all portals\n",
              second.err);
    EXPECT_EQ(here + "\n", ListAddresses().out);
}

TEST_F(NodeIscsiadmTest, OfTwoLoginsAtOnceOneFindsTheOthersSession)
{
    StartTargets({here});
    Discover(here);
    auto other = std::async(std::launch::async, [this] { return Login(here).status; });
    const int one = Login(here).status;
    const int two = other.get();
    EXPECT_EQ(15, one + two);
    EXPECT_EQ(0, one * two);
    EXPECT_EQ(here + "\n", ListAddresses().out);
}

TEST_F(NodeIscsiadmTest, TwoPortalsMakeTwoSessionsAndOneLogoutEndsBoth)
{
    StartTargets({here, there});
    for (const std::string& address : {here, there}) {
        Discover(address);
        EXPECT_EQ(0, Login(address).status);
    }
    EXPECT_EQ(here + "\n" + there + "\n", ListAddresses().out);
    const Finished logout = Logout();
    EXPECT_EQ(0, logout.status);
    const std::string first = "[sid: 1, target: " + Name(here) + ", portal: " + here + ",3260]";
    const std::string second = "[sid: 2, target: " + Name(there) + ", portal: " + there + ",3260]";
    EXPECT_EQ("Logging out of session " + first + "\nLogging out of session " + second + "\nLogout of " + first +
                  " successful.\nLogout of " + second + " successful.\n",
              logout.out);
    EXPECT_EQ(21, Logout().status);
    EXPECT_EQ("iscsiadm: No matching sessions found\n", Logout().err);
    EXPECT_EQ(0, Login(here).status) << "the records stay";
}

TEST_F(NodeIscsiadmTest, ListWithoutSessionsIsEmpty)
{
    const Finished alone = List();
    EXPECT_EQ(21, alone.status);
    EXPECT_EQ("iscsiadm: No active sessions.\n", alone.err);
    const Finished addresses = ListAddresses();
    EXPECT_EQ(0, addresses.status);
    EXPECT_EQ("", addresses.out);
    EXPECT_EQ("iscsiadm: No active sessions.\n", addresses.err);
}

TEST_F(NodeIscsiadmTest, LoginWithoutDiscoveryFindsNoRecords)
{
    StartTargets({here, there});
    EXPECT_EQ("iscsiadm: No records found\n", Login(here).err);
    Discover(there);
    const Finished login = Login(here);
    EXPECT_EQ(21, login.status);
    EXPECT_EQ("iscsiadm: No records found\n", login.err);
}

TEST_F(NodeIscsiadmTest, LoginThatTheTargetRefusesTellsWhy)
{
    StartTargets({here});
    Discover(here);
    SetInitiator("iqn.2020-01.example.node:stranger");
    const Finished refused = Login(here);
    EXPECT_EQ(19, refused.status);
    EXPECT_EQ("Logging in to " + Bracket(here) + "\n", refused.out);
    EXPECT_EQ("iscsiadm: Could not login to " + Bracket(here) +
                  ".\niscsiadm: initiator reported error (19 - encountered non-retryable iSCSI login failure)\n"
                  "iscsiadm: Could not log into all portals\n",
              refused.err);
    EXPECT_EQ("", ListAddresses().out);
}

TEST_F(NodeIscsiadmTest, StaleAndPresentRecordsOnOnePortalTellThePresentFirst)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    folder.Write("state/nodes.json", R"([{"target":"iqn.2020-01.example.gone","host":")" + here +
                                         R"(","port":3260,"group":1},{"target":")" + Name(here) + R"(","host":")" +
                                         here + R"(","port":3260,"group":1}])");
    const Finished login = Login(here);
    EXPECT_EQ(15, login.status);
    EXPECT_THAT(login.err, StartsWith("iscsiadm: default: 1 session requested, but 1 already present.\n"
                                      "iscsiadm: Could not login to"));
    Logout();
    const Finished again = Login(here);
    EXPECT_EQ(19, again.status);
    EXPECT_THAT(again.out, HasSubstr("Login to " + Bracket(here) + " successful."));
    EXPECT_EQ(here + "\n", ListAddresses().out);
}

TEST_F(NodeIscsiadmTest, SessionEndsWhenItsTargetGoes)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    ASSERT_EQ(0, Execute({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (List().status == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the keeper is another process
    }
    EXPECT_EQ("", ListAddresses().out);
    EXPECT_EQ(8, Login(here).status);
    EXPECT_THAT(Login(here).err, HasSubstr("(8 - connection timed out)"));
}

TEST_F(NodeIscsiadmTest, KeeperStandsAloneAndItsDeathEndsTheSession)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    const pid_t keeper = Keeper();
    EXPECT_EQ(keeper, ::getsid(keeper)) << "a session of its own";
    for (const char* const stream : {"0", "1", "2"}) {
        EXPECT_EQ("/dev/null",
                  std::filesystem::read_symlink("/proc/" + std::to_string(keeper) + "/fd/" + stream).string());
    }
    ASSERT_EQ(0, ::kill(keeper, SIGKILL));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (List().status == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ("", ListAddresses().out);
    EXPECT_EQ(0, Login(here).status) << "a new session takes its place";
}

TEST_F(NodeIscsiadmTest, PipelineIsNotHeldOpenByTheKeeper)
{
    StartTargets({here});
    Discover(here);
    const Finished piped = RunShell("iscsiadm -m node -p " + here + " -l 2>&1 | cat", environment);
    EXPECT_THAT(piped.out, HasSubstr("successful.")); // cat ends only when nobody holds the pipe any more
}

TEST_F(NodeIscsiadmTest, OtherCommandLinesAreRefusedWithTheirUse)
{
    for (const std::vector<std::string>& words : {std::vector<std::string>{ISCSIADM},
                                                  {ISCSIADM, "-m", "host"},
                                                  {ISCSIADM, "-m", "node", "-p", "nonsense", "-l"}}) {
        const Finished refused = Execute(words, environment);
        EXPECT_EQ(7, refused.status);
        EXPECT_EQ("", refused.out);
        EXPECT_THAT(refused.err, StartsWith("iscsiadm: "));
        EXPECT_THAT(refused.err, HasSubstr("Try `iscsiadm --help' for more information."));
    }
}

TEST_F(NodeIscsiadmTest, NodeWithoutANameCannotDoAnything)
{
    std::filesystem::remove(folder.File("name"));
    const Finished refused = Discover(here);
    EXPECT_EQ(6, refused.status);
    EXPECT_EQ("iscsiadm: there is no file " + folder.File("name") + "\n", refused.err);
}

class TargetScriptTest : public NodeIscsiadmTest {};

TEST_F(TargetScriptTest, StopEndsItsProcessesAndRemovesItsFiles)
{
    StartTargets({here, there});
    const Finished status = Execute({ZAVSIM_TARGET, "status", "--folder", folder.File("target")}, environment);
    EXPECT_EQ(0, status.status);
    EXPECT_THAT(status.out, HasSubstr(Name(here)));
    EXPECT_THAT(status.out, HasSubstr(Name(there)));
    EXPECT_EQ(0, Execute({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
    EXPECT_TRUE(std::filesystem::is_empty(folder.File("target")));
    EXPECT_EQ(1, Execute({ZAVSIM_TARGET, "status", "--folder", folder.File("target")}, environment).status);
    EXPECT_EQ(11, Discover(here).status);
}

TEST_F(TargetScriptTest, StopEndsATargetThatIsInUse)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    EXPECT_EQ(0, Execute({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
    EXPECT_EQ(11, Discover(here).status);
}

TEST_F(TargetScriptTest, StartTwiceOrOnATakenAddressLeavesWhatIsThere)
{
    StartTargets({here});
    const Finished again = Execute({ZAVSIM_TARGET, "start", "--folder", folder.File("target"), there}, environment);
    EXPECT_EQ(1, again.status);
    EXPECT_THAT(again.err, HasSubstr("serves already"));
    const Finished other =
        Execute({ZAVSIM_TARGET, "start", "--folder", folder.File("other"), there, here}, environment);
    EXPECT_EQ(1, other.status);
    EXPECT_THAT(other.err, HasSubstr("tgtd does not serve " + here + ":3260"));
    EXPECT_THAT(other.err, HasSubstr("Address already in use"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.File("other"))) << "what it had begun is undone";
    EXPECT_EQ(11, Discover(there).status);
    EXPECT_EQ(0, Discover(here).status);
}

TEST_F(TargetScriptTest, BadUseIsTold)
{
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{},
          {"dance", "--folder", folder.File("x")},
          {"start"},
          {"start", "--folder"},
          {"start", "--folder", folder.File("x"), "localhost"},
          {"start", "--folder", folder.File("x"), "--luns", "0", "127.0.0.5"}}) {
        std::vector<std::string> line{ZAVSIM_TARGET};
        line.insert(line.end(), words.begin(), words.end());
        const Finished refused = Execute(line, environment);
        EXPECT_EQ(2, refused.status);
        EXPECT_THAT(refused.err, StartsWith("zavsim-target: "));
    }
}

} // namespace
} // namespace ZavSimTest

#include "tests/simulator/support/own_address.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

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
        RunToEnd({ISCSIADM, "-m", "node", "-u"}, environment);
        if (std::filesystem::exists(folder.File("target"))) {
            EXPECT_EQ(0, RunToEnd({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
        }
    }

    static std::string Address(unsigned int number) { return OwnAddress(64, number); }

    static std::string Name(const std::string& address) { return "iqn.2020-01.example.zavsim:a:b:c:d:" + address; }

    void SetInitiator(const std::string& name) const { folder.Write("name", "InitiatorName=" + name + "\n"); }

    void StartTargets(const std::vector<std::string>& addresses)
    {
        std::vector<std::string> words{ZAVSIM_TARGET, "start", "--folder",    folder.File("target"),
                                       "--initiator", ME,      "--megabytes", "8"};
        words.insert(words.end(), addresses.begin(), addresses.end());
        const Base::ProgramResult finished = RunToEnd(words, environment);
        ASSERT_EQ(0, finished.status) << finished.errors << "(Debian's package tgt has tgtd)";
    }

    Base::ProgramResult Discover(const std::string& address)
    {
        return RunToEnd({ISCSIADM, "-m", "discovery", "--op=new", "-t", "st", "-p", address}, environment);
    }
    Base::ProgramResult Login(const std::string& address)
    {
        return RunToEnd({ISCSIADM, "-m", "node", "-p", address, "-l"}, environment);
    }
    Base::ProgramResult Logout() { return RunToEnd({ISCSIADM, "-m", "node", "-u"}, environment); }
    Base::ProgramResult List() { return RunToEnd({ISCSIADM, "-m", "session", "-P", "1"}, environment); }
    Base::ProgramResult ListAddresses() { return RunShellLine(LIST_ADDRESSES, environment); }

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
    Process::Arguments environment;
    const std::string here = Address(1);
    const std::string there = Address(2);
};

TEST_F(NodeIscsiadmTest, DiscoveryListsTheTargetOfThePortal)
{
    StartTargets({here, there});
    const Base::ProgramResult found = Discover(here);
    EXPECT_EQ(0, found.status);
    EXPECT_EQ(here + ":3260,1 " + Name(here) + "\n", found.output);
    EXPECT_EQ("", found.errors);
    EXPECT_EQ(there + ":3260,1 " + Name(there) + "\n", Discover(there).output);
}

TEST_F(NodeIscsiadmTest, DiscoveryWhereNothingListensTellsItSixTimes)
{
    const Base::ProgramResult refused = Discover(here);
    const std::string line = "iscsiadm: cannot make connection to " + here + ": Connection refused\n";
    EXPECT_EQ(11, refused.status);
    EXPECT_EQ("", refused.output);
    EXPECT_EQ(line + line + line + line + line + line +
                  "iscsiadm: connection login retries (reopen_max) 5 exceeded\n"
                  "iscsiadm: Could not perform SendTargets discovery: iSCSI PDU timed out\n",
              refused.errors);
}

TEST_F(NodeIscsiadmTest, DiscoveryByAnInitiatorThatSeesNothing)
{
    StartTargets({here});
    SetInitiator("iqn.2020-01.example.node:stranger");
    const Base::ProgramResult nothing = Discover(here);
    EXPECT_EQ(21, nothing.status);
    EXPECT_EQ("", nothing.output);
    EXPECT_EQ("iscsiadm: No portals found\n", nothing.errors);
}

TEST_F(NodeIscsiadmTest, LoginKeepsASessionThatTheListShowsByAddress)
{
    StartTargets({here});
    Discover(here);
    const Base::ProgramResult login = Login(here);
    EXPECT_EQ(0, login.status) << login.errors;
    EXPECT_EQ("Logging in to " + Bracket(here) + "\nLogin to " + Bracket(here) + " successful.\n", login.output);
    EXPECT_EQ("", login.errors);
    const Base::ProgramResult addresses = ListAddresses();
    EXPECT_EQ(0, addresses.status);
    EXPECT_EQ(here + "\n", addresses.output);
    EXPECT_EQ("", addresses.errors);
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
              List().output);
}

TEST_F(NodeIscsiadmTest, SecondLoginSaysThatTheSessionIsThere)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    const Base::ProgramResult second = Login(here);
    EXPECT_EQ(15, second.status);
    EXPECT_EQ("", second.output);
    EXPECT_EQ("iscsiadm: default: 1 session requested, but 1 already present.\n"
              "iscsiadm: Could not log into all portals\n",
              second.errors);
    EXPECT_EQ(here + "\n", ListAddresses().output);
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
    EXPECT_EQ(here + "\n", ListAddresses().output);
}

TEST_F(NodeIscsiadmTest, TwoPortalsMakeTwoSessionsAndOneLogoutEndsBoth)
{
    StartTargets({here, there});
    for (const std::string& address : {here, there}) {
        Discover(address);
        EXPECT_EQ(0, Login(address).status);
    }
    EXPECT_EQ(here + "\n" + there + "\n", ListAddresses().output);
    const Base::ProgramResult logout = Logout();
    EXPECT_EQ(0, logout.status);
    const std::string first = "[sid: 1, target: " + Name(here) + ", portal: " + here + ",3260]";
    const std::string second = "[sid: 2, target: " + Name(there) + ", portal: " + there + ",3260]";
    EXPECT_EQ("Logging out of session " + first + "\nLogging out of session " + second + "\nLogout of " + first +
                  " successful.\nLogout of " + second + " successful.\n",
              logout.output);
    EXPECT_EQ(21, Logout().status);
    EXPECT_EQ("iscsiadm: No matching sessions found\n", Logout().errors);
    EXPECT_EQ(0, Login(here).status) << "the records stay";
}

TEST_F(NodeIscsiadmTest, ListWithoutSessionsIsEmpty)
{
    const Base::ProgramResult alone = List();
    EXPECT_EQ(21, alone.status);
    EXPECT_EQ("iscsiadm: No active sessions.\n", alone.errors);
    const Base::ProgramResult addresses = ListAddresses();
    EXPECT_EQ(0, addresses.status);
    EXPECT_EQ("", addresses.output);
    EXPECT_EQ("iscsiadm: No active sessions.\n", addresses.errors);
}

TEST_F(NodeIscsiadmTest, LoginWithoutDiscoveryFindsNoRecords)
{
    StartTargets({here, there});
    EXPECT_EQ("iscsiadm: No records found\n", Login(here).errors);
    Discover(there);
    const Base::ProgramResult login = Login(here);
    EXPECT_EQ(21, login.status);
    EXPECT_EQ("iscsiadm: No records found\n", login.errors);
}

TEST_F(NodeIscsiadmTest, LoginThatTheTargetRefusesTellsWhy)
{
    StartTargets({here});
    Discover(here);
    SetInitiator("iqn.2020-01.example.node:stranger");
    const Base::ProgramResult refused = Login(here);
    EXPECT_EQ(19, refused.status);
    EXPECT_EQ("Logging in to " + Bracket(here) + "\n", refused.output);
    EXPECT_EQ("iscsiadm: Could not login to " + Bracket(here) +
                  ".\niscsiadm: initiator reported error (19 - encountered non-retryable iSCSI login failure)\n"
                  "iscsiadm: Could not log into all portals\n",
              refused.errors);
    EXPECT_EQ("", ListAddresses().output);
}

TEST_F(NodeIscsiadmTest, StaleAndPresentRecordsOnOnePortalTellThePresentFirst)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    folder.Write("state/nodes.json", R"([{"target":"iqn.2020-01.example.gone","host":")" + here +
                                         R"(","port":3260,"group":1},{"target":")" + Name(here) + R"(","host":")" +
                                         here + R"(","port":3260,"group":1}])");
    const Base::ProgramResult login = Login(here);
    EXPECT_EQ(15, login.status);
    EXPECT_THAT(login.errors, StartsWith("iscsiadm: default: 1 session requested, but 1 already present.\n"
                                         "iscsiadm: Could not login to"));
    Logout();
    const Base::ProgramResult again = Login(here);
    EXPECT_EQ(19, again.status);
    EXPECT_THAT(again.output, HasSubstr("Login to " + Bracket(here) + " successful."));
    EXPECT_EQ(here + "\n", ListAddresses().output);
}

TEST_F(NodeIscsiadmTest, SessionEndsWhenItsTargetGoes)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    ASSERT_EQ(0, RunToEnd({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (List().status == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the keeper is another process
    }
    EXPECT_EQ("", ListAddresses().output);
    EXPECT_EQ(8, Login(here).status);
    EXPECT_THAT(Login(here).errors, HasSubstr("(8 - connection timed out)"));
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
    EXPECT_EQ("", ListAddresses().output);
    EXPECT_EQ(0, Login(here).status) << "a new session takes its place";
}

TEST_F(NodeIscsiadmTest, PipelineIsNotHeldOpenByTheKeeper)
{
    StartTargets({here});
    Discover(here);
    const Base::ProgramResult piped = RunShellLine("iscsiadm -m node -p " + here + " -l 2>&1 | cat", environment);
    EXPECT_THAT(piped.output, HasSubstr("successful.")); // cat ends only when nobody holds the pipe any more
}

TEST_F(NodeIscsiadmTest, OtherCommandLinesAreRefusedWithTheirUse)
{
    for (const std::vector<std::string>& words : {std::vector<std::string>{ISCSIADM},
                                                  {ISCSIADM, "-m", "host"},
                                                  {ISCSIADM, "-m", "node", "-p", "nonsense", "-l"}}) {
        const Base::ProgramResult refused = RunToEnd(words, environment);
        EXPECT_EQ(7, refused.status);
        EXPECT_EQ("", refused.output);
        EXPECT_THAT(refused.errors, StartsWith("iscsiadm: "));
        EXPECT_THAT(refused.errors, HasSubstr("Try `iscsiadm --help' for more information."));
    }
}

TEST_F(NodeIscsiadmTest, NodeWithoutANameCannotDoAnything)
{
    std::filesystem::remove(folder.File("name"));
    const Base::ProgramResult refused = Discover(here);
    EXPECT_EQ(6, refused.status);
    EXPECT_EQ("iscsiadm: there is no file " + folder.File("name") + "\n", refused.errors);
}

class TargetScriptTest : public NodeIscsiadmTest {};

TEST_F(TargetScriptTest, StopEndsItsProcessesAndRemovesItsFiles)
{
    StartTargets({here, there});
    const Base::ProgramResult status =
        RunToEnd({ZAVSIM_TARGET, "status", "--folder", folder.File("target")}, environment);
    EXPECT_EQ(0, status.status);
    EXPECT_THAT(status.output, HasSubstr(Name(here)));
    EXPECT_THAT(status.output, HasSubstr(Name(there)));
    EXPECT_EQ(0, RunToEnd({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
    EXPECT_TRUE(std::filesystem::is_empty(folder.File("target")));
    EXPECT_EQ(1, RunToEnd({ZAVSIM_TARGET, "status", "--folder", folder.File("target")}, environment).status);
    EXPECT_EQ(11, Discover(here).status);
}

TEST_F(TargetScriptTest, StopEndsATargetThatIsInUse)
{
    StartTargets({here});
    Discover(here);
    Login(here);
    EXPECT_EQ(0, RunToEnd({ZAVSIM_TARGET, "stop", "--folder", folder.File("target")}, environment).status);
    EXPECT_EQ(11, Discover(here).status);
}

TEST_F(TargetScriptTest, StartTwiceOrOnATakenAddressLeavesWhatIsThere)
{
    StartTargets({here});
    const Base::ProgramResult again =
        RunToEnd({ZAVSIM_TARGET, "start", "--folder", folder.File("target"), there}, environment);
    EXPECT_EQ(1, again.status);
    EXPECT_THAT(again.errors, HasSubstr("serves already"));
    const Base::ProgramResult other =
        RunToEnd({ZAVSIM_TARGET, "start", "--folder", folder.File("other"), there, here}, environment);
    EXPECT_EQ(1, other.status);
    EXPECT_THAT(other.errors, HasSubstr("tgtd does not serve " + here + ":3260"));
    EXPECT_THAT(other.errors, HasSubstr("Address already in use"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.File("other"))) << "what it had begun is undone";
    EXPECT_EQ(11, Discover(there).status);
    EXPECT_EQ(0, Discover(here).status);
}

TEST_F(TargetScriptTest, TargetWhoseRecordCannotBeWrittenIsEnded)
{
    const std::string targets = folder.File("other");
    std::filesystem::create_directory(targets);
    std::filesystem::create_symlink(folder.File("no/file"), targets + "/" + there + ".record"); // fails as a full disk
    const Base::ProgramResult refused =
        RunToEnd({ZAVSIM_TARGET, "start", "--folder", targets, here, there}, environment);
    EXPECT_EQ(1, refused.status);
    EXPECT_THAT(refused.errors, HasSubstr("zavsim-target: cannot write " + targets + "/" + there + ".record"));
    EXPECT_TRUE(std::filesystem::is_empty(targets)) << "what it had begun is undone";
    EXPECT_EQ(11, Discover(here).status);
    EXPECT_EQ(11, Discover(there).status);
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
        const Base::ProgramResult refused = RunToEnd(line, environment);
        EXPECT_EQ(2, refused.status);
        EXPECT_THAT(refused.errors, StartsWith("zavsim-target: "));
    }
}

} // namespace
} // namespace ZavSimTest

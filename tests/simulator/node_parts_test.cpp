#include "standin/command_line.h"
#include "standin/initiator_name.h"
#include "standin/node_store.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

namespace ZavSimNode {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(NodeCommandLineTest, ParseKnowsItsCommandsAndNothingElse)
{
    const Command discover = ParseCommand({"-m", "discovery", "--op=new", "-t", "st", "-p", "10.0.0.1"});
    EXPECT_EQ(Action::Discover, discover.action);
    EXPECT_EQ("10.0.0.1", discover.portal);
    EXPECT_EQ(Action::Login, ParseCommand({"-m", "node", "-p", "10.0.0.1", "-l"}).action);
    EXPECT_EQ(Action::List, ParseCommand({"-m", "session", "-P", "1"}).action);
    EXPECT_EQ(Action::Logout, ParseCommand({"-m", "node", "-u"}).action);
    EXPECT_EQ(Action::ListBriefly, ParseCommand({"-m", "session"}).action);
    const Command logout = ParseCommand({"-m", "node", "-T", "iqn.a", "-p", "10.0.0.1:3260", "-u"});
    EXPECT_EQ(Action::LogoutOne, logout.action);
    EXPECT_EQ("iqn.a", logout.target);
    EXPECT_EQ("10.0.0.1:3260", logout.portal);
    EXPECT_EQ(Action::Delete, ParseCommand({"-m", "node", "-T", "a", "-p", "b", "-o", "delete"}).action);
    EXPECT_EQ(Action::TellVersion, ParseCommand({"--version"}).action);
    EXPECT_EQ(Action::Unknown, ParseCommand({}).action);
    EXPECT_EQ(Action::Unknown, ParseCommand({"-m", "node"}).action);
    EXPECT_EQ(Action::Unknown, ParseCommand({"-m", "session", "-P", "2"}).action);
    EXPECT_EQ(Action::Unknown, ParseCommand({"-m", "node", "-p", "10.0.0.1", "-l", "-u"}).action);
}

TEST(NodePortalTest, ParseUnderstandsBothFamiliesWithAndWithoutPort)
{
    EXPECT_EQ("10.0.0.1:3260", ParsePortal("10.0.0.1")->ForUrl());
    EXPECT_EQ("10.0.0.1,3261", ParsePortal("10.0.0.1:3261")->ForLines());
    EXPECT_EQ("[fd00::1]:3260", ParsePortal("fd00::1")->ForUrl());
    EXPECT_EQ("[fd00::1]:3260", ParsePortal("[fd00::1]")->ForUrl());
    EXPECT_EQ("fd00::1,3261", ParsePortal("[fd00::1]:3261")->ForLines());
    for (const char* const text : {"", "host", "10.0.0", "10.0.0.1:", "10.0.0.1:0", "10.0.0.1:65536", "[fd00::1",
                                   "[10.0.0.1]", "[fd00::1]3260", "10.0.0.1x"}) {
        EXPECT_FALSE(ParsePortal(text)) << text;
    }
}

class InitiatorNameTest : public ::testing::Test {
protected:
    InitiatorNameTest() { ::setenv("ZAVSIM_NODE_INITIATOR_FILE", folder.File("name").c_str(), 1); }
    ~InitiatorNameTest() override { ::unsetenv("ZAVSIM_NODE_INITIATOR_FILE"); }

    TemporaryFolder folder;
};

TEST_F(InitiatorNameTest, ReadPassesOverCommentsThatMentionIt)
{
    folder.Write("name", "## InitiatorName is read by others\n#InitiatorName=iqn.no\nInitiatorName=iqn.yes  \n");
    EXPECT_EQ("iqn.yes", ReadInitiatorName());
}

TEST_F(InitiatorNameTest, ReadWithoutANameNamesTheFile)
{
    const auto complaint = [] {
        try {
            return ReadInitiatorName();
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
    };
    EXPECT_EQ("there is no file " + folder.File("name"), complaint());
    folder.Write("name", "InitiatorName=\n");
    EXPECT_THAT(complaint(), HasSubstr(folder.File("name") + " has no line"));
}

class NodeStoreTest : public ::testing::Test {
protected:
    SessionRecord Kept(const NodeRecord& node, const ProcessIdentity& keeper) const
    {
        SessionRecord session{0, node, "iqn.me", keeper};
        store.AddSession(session);
        return session;
    }

    TemporaryFolder folder;
    NodeStore store{folder.File("state")};
    const NodeRecord first{"iqn.a", {"10.0.0.1", 3260}, 1};
    const NodeRecord second{"iqn.b", {"fd00::1", 3261}, 2};
};

TEST_F(NodeStoreTest, AddNodesKeepsOrderAndKnowsTwins)
{
    store.AddNodes({first});
    store.AddNodes({second, first});
    EXPECT_THAT(store.LoadNodes(), ElementsAre(first, second));
    EXPECT_EQ(2, store.LoadNodes()[1].group);
}

TEST_F(NodeStoreTest, SessionOfALivingProcessIsThereAndThatOfAnEndedOneIsNot)
{
    const ProcessIdentity self = ProcessIdentity::Of(::getpid());
    Process other({"sleep", "1000"});
    const ProcessIdentity child = ProcessIdentity::Of(other.Pid());
    EXPECT_EQ(1, Kept(first, self).number);
    EXPECT_EQ(2, Kept(second, child).number);
    EXPECT_EQ(2U, store.LoadSessions().size());
    other.Signal(SIGKILL);
    other.Wait();
    ASSERT_EQ(1U, store.LoadSessions().size());
    EXPECT_EQ(first, store.LoadSessions()[0].node);
    EXPECT_EQ("iqn.me", store.LoadSessions()[0].initiator);
    EXPECT_EQ(3, Kept(second, self).number) << "numbers are not used again";
}

TEST_F(NodeStoreTest, SessionOfAnotherProcessWithTheSameNumberIsStale)
{
    ProcessIdentity earlier = ProcessIdentity::Of(::getpid());
    earlier.start -= 1;
    Kept(first, earlier);
    EXPECT_THAT(store.LoadSessions(), IsEmpty());
    EXPECT_TRUE(EndProcess(earlier, std::chrono::milliseconds(0))) << "and we are still here to say so";
}

TEST_F(NodeStoreTest, EndProcessEndsOneThatWillNotListen)
{
    Process deaf({"/bin/sh", "-c", "trap '' TERM; echo ready; while :; do sleep 1; done"});
    deaf.AwaitOutput("ready");
    EXPECT_TRUE(EndProcess(ProcessIdentity::Of(deaf.Pid()), std::chrono::milliseconds(2000)));
    EXPECT_EQ(128 + SIGKILL, deaf.Wait());
}

TEST_F(NodeStoreTest, ProcessThatCannotBeLookedAtIsNotTakenForEnded)
{
    Process other({"sleep", "1000"});
    const ProcessIdentity child = ProcessIdentity::Of(other.Pid());
    EXPECT_EQ(0, InChild([&child] {
                  const rlimit none = {0, 0};
                  if (::setrlimit(RLIMIT_NOFILE, &none) != 0) {
                      return 1;
                  }
                  try {
                      return EndProcess(child, std::chrono::milliseconds(0)) ? 2 : 0;
                  } catch (const std::runtime_error& error) {
                      return std::string(error.what()).find("Too many open files") != std::string::npos ? 0 : 3;
                  }
              }));
    EXPECT_TRUE(child.IsAlive());
}

TEST_F(NodeStoreTest, FolderThatOthersCouldChangeIsRefused)
{
    const auto complaint = [](const std::string& path) -> std::string {
        try {
            const NodeStore opened(path);
            return "";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    ASSERT_EQ(0, ::chmod(folder.File("state").c_str(), 0755));
    EXPECT_THAT(complaint(folder.File("state")), HasSubstr("must be a folder of this user with mode 0700"));
    ASSERT_EQ(0, ::chmod(folder.File("state").c_str(), 0700));
    EXPECT_EQ("", complaint(folder.File("state")));
    ASSERT_EQ(0, ::symlink(folder.File("state").c_str(), folder.File("link").c_str()));
    EXPECT_THAT(complaint(folder.File("link")), HasSubstr("must be a folder"));
}

TEST_F(NodeStoreTest, DamagedRecordsNameTheirFile)
{
    for (const char* const text : {"rubbish", "[5]", R"([{"target":"a","host":"b","port":[],"group":1}])"}) {
        folder.Write("state/nodes.json", text);
        try {
            store.LoadNodes();
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(folder.File("state/nodes.json")));
        }
    }
}

} // namespace
} // namespace ZavSimNode

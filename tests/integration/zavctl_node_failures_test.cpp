#include "tests/integration/failure_stage.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

using ::testing::IsEmpty;

namespace {

/// Each thing that this node, or the way from it to the array's service ports, can lack.
class ZavctlNodeFailuresTest : public FailureStage {
protected:
    /// This node has no path to the array, and why.
    static std::string Unconnected(const Array& array, const std::string& why)
    {
        return array.Url() + ": this node has no online FC port and no iSCSI session with any of " +
               array.Options().serviceIps[0] + ": " + why;
    }

    std::string NoName(const Array& array) const
    {
        return array.Url() + ": this node is not rightly prepared: no host is recorded, for this node has no FC port, "
                             "and no name in /etc/iscsi/initiatorname.iscsi";
    }

    const std::string GIVE_A_NAME = "give this node an initiator name in /etc/iscsi/initiatorname.iscsi, as open-iscsi "
                                    "does when it is installed, or bring an FC port online; then run zavctl init again";
};

TEST_F(ZavctlNodeFailuresTest, NoIscsiadm)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    Configure({{"Shell.Path", Directory() + "/node/bin"}});
    const std::string tools = Directory() + "/tools";
    boost::filesystem::create_directory(tools);
    for (const char* const tool : {"cat", "grep", "awk"}) {
        boost::filesystem::create_symlink(std::string("/usr/bin/") + tool, tools + "/" + tool);
    }
    Set("PATH=" + tools);
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {10, Unconnected(array, "iscsiadm said \"/bin/sh: 1: eval: iscsiadm: not found\""),
                  "install open-iscsi on this node, or bring an FC port online"});
}

TEST_F(ZavctlNodeFailuresTest, HangingIscsiadm)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    MakeCommand("iscsiadm", "exec sleep 60\n");
    ExpectEnding({"init", "--env", EnvironmentFileOf(array), "--timeout", "5"},
                 {8, "given up after 5 s, at the step: preparing this node; iscsiadm was running",
                  "give more time with --timeout; where it hangs again, see by ps what the command waits for, and try "
                  "it by hand"});
    EXPECT_EQ(0U, array.SessionCount());
}

TEST_F(ZavctlNodeFailuresTest, IscsiadmThatExceedsItsTime)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    Configure({{"Shell.TimeoutSeconds", "1"}});
    MakeCommand("iscsiadm", "exec sleep 60\n");
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {10, Unconnected(array, "iscsiadm said \"The command was ended after its time limit of 1 seconds\""),
                  "run iscsiadm -m discovery -t st -p ADDRESS by hand and see what it waits for (the way to the "
                  "array's iSCSI ports, iscsid); [Shell] TimeoutSeconds of backupnode.ini is how long it may take"});
}

TEST_F(ZavctlNodeFailuresTest, DeadIscsid)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    MakeCommand("iscsiadm", "echo 'iscsiadm: can not connect to iSCSI daemon (111)!' >&2\nexit 20\n");
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {10, Unconnected(array, "iscsiadm said \"iscsiadm: can not connect to iSCSI daemon (111)!\""),
                  "start iscsid (systemctl start iscsid), or bring an FC port online; then run the command again"});
    const Base::ProgramResult init = RunZavctl({"init", "--env", EnvironmentFileOf(array), "-o", "json"});
    const Json::Value error = ParseJsonText(init.output)["errors"][0];
    EXPECT_EQ(10, error["exit"].asInt());
    EXPECT_FALSE(error.isMember("code")) << "no array gave that number";
}

TEST_F(ZavctlNodeFailuresTest, TargetThatDoesNotLetThisInitiatorIn)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    MakeCommand("iscsiadm", "case \"$*\" in *-l) ;; *) exit 0 ;; esac\n"
                            "echo 'iscsiadm: initiator reported error (24 - iSCSI login failed due to authorization "
                            "failure)' >&2\nexit 24\n");
    ExpectEnding(
        {"init", "--env", EnvironmentFileOf(array)},
        {10,
         Unconnected(array, "iscsiadm said \"iscsiadm: initiator reported error (24 - iSCSI login failed due "
                            "to authorization failure)\""),
         "compare CHAP in /etc/iscsi/iscsid.conf with what the array asks of this initiator; zavctl sets none up"});
}

TEST_F(ZavctlNodeFailuresTest, NoInitiatorName)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    SetInitiatorFile("");
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)}, {10, NoName(array), GIVE_A_NAME});
    EXPECT_THAT(array.Ids("host"), IsEmpty());
}

TEST_F(ZavctlNodeFailuresTest, NoFileOfTheInitiatorName)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    boost::filesystem::remove(Directory() + "/node/initiatorname.iscsi");
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)}, {10, NoName(array), GIVE_A_NAME});
}

TEST_F(ZavctlNodeFailuresTest, ServicePortThatIsClosed)
{
    const Array& array = StartArray(); // and no iSCSI target
    ExpectEnding({"init", "--env", EnvironmentFileOf(array)},
                 {10, Unconnected(array, "the iSCSI portal " + array.Options().serviceIps[0] + " takes no connection"),
                  "check the way from this node to the array's iSCSI ports, TCP 3260, and that its iSCSI service runs; "
                  "an FC port "
                  "that is online would do as well"});
}

} // namespace

#include "tests/integration/stage.h"

#include <gmock/gmock.h>

#include <csignal>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

namespace {

const std::string OTHER = "iqn.2020-01.local.other:01"; // of another machine

/// A prepared node, and hosts that it has not, or not alone.
class ZavctlHostsTest : public Stage {
protected:
    ZavctlHostsTest()
        : m_array(StartServedArray())
        , m_env(EnvironmentFileOf(m_array))
    {
    }

    Base::ProgramResult Run(const std::string& command) const { return RunZavctl({command, "--env", m_env}); }

    void ExpectPrepared() const
    {
        const Base::ProgramResult init = Run("init");
        ASSERT_EQ(0, init.status) << init.errors;
    }

    void MakeHost(const std::string& name) const
    {
        m_array.Operate("POST", "host", R"({"NAME":")" + name + R"(","TYPE":"21"})");
    }

    void PutOntoHost(const std::string& iqn, const std::string& host) const
    {
        const std::string id = R"("TYPE":"222","ID":")" + iqn + '"';
        m_array.Operate("POST", "iscsi_initiator", "{" + id + "}");
        m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                        "{" + id + R"(,"PARENTTYPE":"21","PARENTID":")" + host + R"("})");
    }

    void TakeOffItsHost(const std::string& iqn) const
    {
        m_array.Operate("PUT", "iscsi_initiator/remove_iscsi_from_host", R"({"TYPE":"222","ID":")" + iqn + R"("})");
    }

    void Move(const std::string& iqn, const std::string& host) const
    {
        TakeOffItsHost(iqn);
        m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                        R"({"TYPE":"222","ID":")" + iqn + R"(","PARENTTYPE":"21","PARENTID":")" + host + R"("})");
    }

    /// init ends with 5 and these words; what stands on the array and in the record stays as it is.
    void ExpectRefused(const std::string& why, const std::string& remedy) const
    {
        const Json::Value before = m_array.Objects();
        const std::string record = ReadText(ZavctlRecordPath(m_array));
        const Base::ProgramResult init = Run("init");
        EXPECT_EQ(5, init.status);
        EXPECT_THAT(init.errors,
                    HasSubstr("zavctl: " + m_array.Url() + ": " + why +
                              ", which is not this node's; nothing was changed\nzavctl: remedy: " + remedy));
        EXPECT_EQ(before, m_array.Objects());
        EXPECT_EQ(record, ReadText(ZavctlRecordPath(m_array)));
    }

    std::vector<std::string> InitiatorsOf(const std::string& host) const
    {
        return m_array.Members("host", host, "iscsi_initiator");
    }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlHostsTest, InitiatorThatWasTakenOffAHostOfOthersGoesBackToThisNodesOwn)
{
    ExpectPrepared();
    MakeHost("theirs");
    PutOntoHost(OTHER, "2");
    Move(NODE_IQN, "2");
    ExpectRefused(std::string("iSCSI initiator ") + NODE_IQN + " is on host 2, which holds iSCSI initiator " + OTHER +
                      " as well",
                  "see first whether another machine uses this node's initiator name");
    TakeOffItsHost(NODE_IQN); // as the remedy says
    ExpectPrepared();
    EXPECT_THAT(InitiatorsOf("1"), ElementsAre(NODE_IQN));
    EXPECT_THAT(InitiatorsOf("2"), ElementsAre(OTHER));
}

TEST_F(ZavctlHostsTest, AdoptedHostThatIsOthersByNowIsNotGoneOntoAgain)
{
    MakeHost("theirs");
    PutOntoHost(NODE_IQN, "1");
    ExpectPrepared();
    const std::string host = "host 1 (theirs), which is recorded for this node, holds iSCSI initiator " + OTHER;
    const std::string remedy = "take that initiator off the host on the array, ";
    PutOntoHost(OTHER, "1");
    ExpectRefused(host, remedy);
    TakeOffItsHost(NODE_IQN);
    ExpectRefused(host, remedy);

    EXPECT_EQ(0, Run("cleanup").status); // as the remedy says
    ExpectPrepared();
    EXPECT_THAT(InitiatorsOf("1"), ElementsAre(OTHER));
    EXPECT_THAT(InitiatorsOf("2"), ElementsAre(NODE_IQN));
    EXPECT_THAT(m_array.Members("hostgroup", m_array.Ids("hostgroup").at(0), "host"), ElementsAre("2"));
}

TEST_F(ZavctlHostsTest, RecordedHostOfOthersThatIsNotUsedAnyMoreIsNoHindrance)
{
    MakeHost("theirs");
    PutOntoHost(NODE_IQN, "1");
    ExpectPrepared();
    PutOntoHost(OTHER, "1");
    TakeOffItsHost(NODE_IQN);
    m_array.DeleteBehindBack("mappingview", "1"); // all is made anew, with a host of this node's own
    ExpectPrepared();
    EXPECT_THAT(InitiatorsOf("1"), ElementsAre(OTHER));
    EXPECT_THAT(InitiatorsOf("2"), ElementsAre(NODE_IQN));
}

TEST_F(ZavctlHostsTest, OwnHostThatSomebodyElseWasPutOntoIsLeftAsItIs)
{
    ExpectPrepared();
    PutOntoHost(OTHER, "1");
    const std::string name = m_array.Object("host", "1")["name"].asString();
    const std::string host = "host 1 (" + name + "), which is recorded for this node, holds iSCSI initiator " + OTHER;
    ExpectRefused(host, "take that initiator off the host on the array, ");
    TakeOffItsHost(NODE_IQN); // by whoever gave the host to the other machine
    ExpectRefused(host, "take that initiator off the host on the array, ");
    TakeOffItsHost(OTHER);
    ExpectPrepared();
    EXPECT_THAT(InitiatorsOf("1"), ElementsAre(NODE_IQN));
}

TEST_F(ZavctlHostsTest, NameThatThisNodeHadIsItsOwnAsLongAsItIsRecorded)
{
    ExpectPrepared();
    const std::string name = m_array.Object("host", "1")["name"].asString();
    SetInitiatorFile("InitiatorName=iqn.2020-01.local.node:02\n");
    ExpectPrepared();
    EXPECT_THAT(InitiatorsOf("1"), UnorderedElementsAre(NODE_IQN, "iqn.2020-01.local.node:02"));
    ExpectRefused("host 1 (" + name + "), which is recorded for this node, holds iSCSI initiator " + NODE_IQN,
                  "take that initiator off the host on the array, where it is nobody's any more");
    TakeOffItsHost(NODE_IQN); // as the remedy says
    ExpectPrepared();
}

TEST_F(ZavctlHostsTest, FcPortOnAHostOfOthersIsRefusedTheSame)
{
    SetFcPort(m_array, "Online", true);
    ExpectPrepared();
    MakeHost("theirs");
    PutOntoHost(OTHER, "2");
    const std::string port = std::string(R"({"TYPE":"223","ID":")") + WWPN + R"(","PARENTTYPE":"21","PARENTID":"2"})";
    m_array.Operate("PUT", "fc_initiator/remove_fc_from_host", port);
    m_array.Operate("PUT", "fc_initiator/add_fc_to_host", port);
    ExpectRefused(std::string("FC initiator ") + WWPN + " is on host 2, which holds iSCSI initiator " + OTHER +
                      " as well",
                  "see first whether another machine uses this node's initiator name");
    m_array.Operate("PUT", "fc_initiator/remove_fc_from_host", port);
    ExpectPrepared();
    EXPECT_THAT(m_array.Members("host", "1", "fc_initiator"), ElementsAre(WWPN));
}

TEST_F(ZavctlHostsTest, WatchTellsAHostOfOthersAndLeavesIt)
{
    const auto zavctl = StartZavctl({"init", "--env", m_env, "--watch", "3"}); // long enough for a move
    zavctl->AwaitLine("MAPPING VIEW NAME");
    MakeHost("theirs");
    PutOntoHost(OTHER, "2");
    Move(NODE_IQN, "2");
    zavctl->AwaitError(" lost: " + m_array.Url() + ": iSCSI initiator " + NODE_IQN + " is on host 2, which holds ");
    EXPECT_THAT(m_array.Ids("host"), UnorderedElementsAre("1", "2"));
    EXPECT_THAT(m_array.Members("hostgroup", "1", "host"), ElementsAre("1"));
    TakeOffItsHost(NODE_IQN);
    zavctl->AwaitError(" recovered: ");
    EXPECT_THAT(InitiatorsOf("1"), ElementsAre(NODE_IQN));
    zavctl->Signal(SIGTERM);
    EXPECT_EQ(0, zavctl->Wait()) << zavctl->Errors();
    EXPECT_THAT(InitiatorsOf("2"), ElementsAre(OTHER));
    EXPECT_EQ("1", ReadRecord(ZavctlRecordPath(m_array))["HOSTID"]);
}

} // namespace

#include "tests/integration/stage.h"

#include <gmock/gmock.h>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// Sessions that zavctl init saw begin, and how zavctl cleanup ends them. Disks are for the stories with a real kernel.
class ZavctlLogOutTest : public Stage {
protected:
    ZavctlLogOutTest()
        : m_array(StartArray())
        , m_env(EnvironmentFileOf(m_array))
    {
        StartTargets(m_array.Options().serviceIps);
    }

    Base::ProgramResult Iscsiadm(const Process::Arguments& words) const
    {
        Process::Arguments command = {ProgramPath("node/iscsiadm")};
        command.insert(command.end(), words.begin(), words.end());
        return RunToEnd(command);
    }

    std::string Sessions() const { return Iscsiadm({"-m", "session"}).output; }
    Base::ProgramResult Init() const { return RunZavctl({"init", "--env", m_env}); }
    Base::ProgramResult CleanUp() const { return RunZavctl({"cleanup", "--env", m_env, "--log-out"}); }

    /// From now on iscsiadm does not tell the sessions, once or always.
    void LoseSessions(bool isOnce) const
    {
        const std::string lost = Directory() + "/lost";
        WriteText(lost, "");
        WriteProgram(Directory() + "/node/bin/iscsiadm",
                     "if [ \"$*\" = '-m session' ] && " + std::string(isOnce ? "rm " : "cat ") + lost +
                         " 2>/dev/null; then\n  echo 'iscsiadm: database busy' >&2\n  exit 10\nfi\nexec " +
                         ProgramPath("node/iscsiadm") + " \"$@\"\n");
    }

    std::string Journal() const { return ReadText(ProductPath("conf/san-journal")); }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlLogOutTest, SessionThatInitSawBeginEndsAndItsNodeRecordGoes)
{
    ASSERT_EQ(0, Init().status);
    const std::string portal = m_array.Options().serviceIps[0];
    ASSERT_THAT(Sessions(), HasSubstr("] " + portal + ":3260,"));
    EXPECT_THAT(ReadText(ProductPath("conf/san-journal")), HasSubstr("\"iSCSI session\""));
    const Base::ProgramResult dry = RunZavctl({"cleanup", "--env", m_env, "--log-out", "--dry-run"});
    EXPECT_THAT(dry.errors, HasSubstr("zavctl: ending the iSCSI session with "));
    EXPECT_THAT(Sessions(), HasSubstr(portal)) << "told alone";
    const Base::ProgramResult cleanup = CleanUp();
    EXPECT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(cleanup.errors, ::testing::ContainsRegex("iSCSI session with [^ ]+ at " + portal + ":3260 has ended"));
    EXPECT_THAT(Sessions(), Not(HasSubstr(portal)));
    EXPECT_EQ(21, Iscsiadm({"-m", "node", "-p", portal, "-l"}).status) << "no record is left";
}

TEST_F(ZavctlLogOutTest, SessionThatStoodBeforeStays)
{
    const std::string portal = m_array.Options().serviceIps[0];
    ASSERT_EQ(0, Iscsiadm({"-m", "discovery", "--op=new", "-t", "st", "-p", portal}).status);
    ASSERT_EQ(0, Iscsiadm({"-m", "node", "-p", portal, "-l"}).status);
    ASSERT_EQ(0, Init().status);
    const Base::ProgramResult cleanup = CleanUp();
    EXPECT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(cleanup.errors, AllOf(Not(HasSubstr("has ended")), HasSubstr("record removed")));
    EXPECT_THAT(Sessions(), HasSubstr("] " + portal + ":3260,"));
}

TEST_F(ZavctlLogOutTest, DryRunKeepsTheJournalEntryOfASessionThatHasEnded)
{
    ASSERT_EQ(0, Init().status);
    const std::string journal = Journal();
    ASSERT_EQ(0, Iscsiadm({"-m", "node", "-u"}).status);
    EXPECT_EQ(0, RunZavctl({"cleanup", "--env", m_env, "--log-out", "--dry-run"}).status);
    EXPECT_EQ(journal, Journal());
}

TEST_F(ZavctlLogOutTest, SessionsThatAreNotKnownAreNotTakenForEnded)
{
    ASSERT_EQ(0, Init().status);
    const std::string journal = Journal();
    const std::string record = ReadText(ZavctlRecordPath(m_array));
    LoseSessions(false);
    const Base::ProgramResult cleanup = CleanUp();
    EXPECT_EQ(9, cleanup.status);
    EXPECT_THAT(cleanup.errors, HasSubstr("zavctl: this node's iSCSI sessions are not known: iscsiadm said \"iscsiadm: "
                                          "database busy\" (10)\n"));
    EXPECT_EQ(journal, Journal());
    EXPECT_EQ(record, ReadText(ZavctlRecordPath(m_array)));
    EXPECT_EQ(1U, m_array.Ids("mappingview").size());

    const Base::ProgramResult status = RunZavctl({"status", "--env", m_env});
    EXPECT_EQ(10, status.status);
    EXPECT_THAT(status.output,
                HasSubstr("sessions  missing: this node's iSCSI sessions are not known: iscsiadm said "));
    EXPECT_THAT(status.errors, Not(HasSubstr("no iSCSI session with the array")));
}

TEST_F(ZavctlLogOutTest, SessionOfAnAdministratorIsNotTakenOverWhenIscsiadmFailsOnce)
{
    const std::string portal = m_array.Options().serviceIps[0];
    ASSERT_EQ(0, Iscsiadm({"-m", "discovery", "--op=new", "-t", "st", "-p", portal}).status);
    ASSERT_EQ(0, Iscsiadm({"-m", "node", "-p", portal, "-l"}).status);
    LoseSessions(true);
    const Base::ProgramResult init = Init();
    EXPECT_EQ(0, init.status) << init.errors;
    EXPECT_THAT(init.errors, HasSubstr("sessions that begin stand in no journal: this node's iSCSI sessions are not "
                                       "known: iscsiadm said "));
    const Base::ProgramResult cleanup = CleanUp();
    EXPECT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(Sessions(), HasSubstr("] " + portal + ":3260,"));
}

TEST_F(ZavctlLogOutTest, SessionIsEndedWhenTheRecordIsGoneAlready)
{
    ASSERT_EQ(0, Init().status);
    ASSERT_EQ(0, RunZavctl({"cleanup", "--env", m_env}).status);
    ASSERT_THAT(Sessions(), HasSubstr(m_array.Options().serviceIps[0]));
    const Base::ProgramResult cleanup = CleanUp();
    EXPECT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(cleanup.errors, AllOf(HasSubstr("nothing is recorded"), HasSubstr(" has ended")));
    EXPECT_THAT(Sessions(), Not(HasSubstr(m_array.Options().serviceIps[0])));
}

} // namespace

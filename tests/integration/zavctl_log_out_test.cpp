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

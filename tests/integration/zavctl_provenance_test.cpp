#include "tests/integration/stage.h"

#include <gmock/gmock.h>

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// Where what a prepared node hangs on comes from.
class ZavctlProvenanceTest : public Stage {
protected:
    ZavctlProvenanceTest()
        : m_array(StartArray())
        , m_env(EnvironmentFileOf(m_array))
    {
        StartTargets(m_array.Options().serviceIps);
    }

    Base::ProgramResult Init(const std::vector<std::string>& further = {}) const
    {
        Process::Arguments arguments = {"init", "--env", m_env};
        arguments.insert(arguments.end(), further.begin(), further.end());
        return RunZavctl(arguments);
    }

    void PutThisNodeOntoAnOperatorsHost() const
    {
        m_array.Operate("POST", "host", R"({"NAME":"an operator's","TYPE":"21"})");
        m_array.Operate("POST", "iscsi_initiator", std::string(R"({"TYPE":"222","ID":")") + NODE_IQN + R"("})");
        m_array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                        std::string(R"({"TYPE":"222","PARENTTYPE":"21","PARENTID":"1","ID":")") + NODE_IQN + R"("})");
    }

    const Array& m_array;
    const std::string m_env;
};

TEST_F(ZavctlProvenanceTest, WhatAFirstInitMakesIsToldAsMadeAndLaterAsUnchanged)
{
    const Base::ProgramResult first = Init();
    ASSERT_EQ(0, first.status) << first.errors;
    for (const char* const kind : {"mapping view", "host group", "host", "LUN group"}) {
        EXPECT_THAT(first.errors,
                    ::testing::ContainsRegex(std::string("zavctl: ") + kind + " 1 .Vendrix_[^)]*.: made"));
    }
    const Base::ProgramResult second = Init();
    EXPECT_THAT(second.errors, AllOf(HasSubstr("): unchanged\n"), Not(HasSubstr("): made\n"))));
}

TEST_F(ZavctlProvenanceTest, WhatIsMadeAnewIsToldAmongWhatIsUnchanged)
{
    ASSERT_EQ(0, Init().status);
    m_array.DeleteBehindBack("mappingview", "1");
    const Base::ProgramResult init = Init();
    ASSERT_EQ(0, init.status) << init.errors;
    EXPECT_THAT(init.errors, ::testing::ContainsRegex("zavctl: mapping view [0-9]+ .Vendrix_[^)]*.: made"));
}

TEST_F(ZavctlProvenanceTest, HostThatHasThisNodesInitiatorIsUsedAndToldAsFound)
{
    PutThisNodeOntoAnOperatorsHost();
    const Base::ProgramResult init = Init();
    ASSERT_EQ(0, init.status) << init.errors;
    EXPECT_THAT(init.errors, HasSubstr("zavctl: host 1 (an operator's): found on the array\n"));
}

TEST_F(ZavctlProvenanceTest, HostThatHasThisNodesInitiatorIsRefusedBeforeAnythingIsMadeWhereNoneIsToBeAdopted)
{
    PutThisNodeOntoAnOperatorsHost();
    m_array.ClearJournal();
    const Base::ProgramResult init = Init({"--no-adopt"});
    EXPECT_EQ(5, init.status);
    EXPECT_THAT(init.errors, HasSubstr(m_array.Url() + ": this node's iSCSI initiator " + NODE_IQN +
                                       " is on host 1 (an operator's), which was not made here; nothing was changed\n"
                                       "zavctl: remedy: leave --no-adopt away to use that host"));
    EXPECT_THAT(m_array.Ids("hostgroup"), IsEmpty());
    EXPECT_THAT(m_array.Ids("host"), ElementsAre("1"));
    for (const std::string& request : m_array.Requests()) {
        EXPECT_THAT(request, ::testing::AnyOf(HasSubstr("GET"), HasSubstr("sessions"))) << "nothing is asked to change";
    }
}

TEST_F(ZavctlProvenanceTest, HostOfThisNodesOwnIsNoneToAdopt)
{
    ASSERT_EQ(0, Init({"--no-adopt"}).status);
    EXPECT_EQ(0, Init({"--no-adopt"}).status);
}

} // namespace

#include "tests/host/node.h"

#include <boost/filesystem/operations.hpp>

namespace {

class InitiatorNameTest : public AwkNode {
protected:
    /// The name that the library finds in a file with this text; "none" when it finds none.
    std::string NameIn(const std::string& text)
    {
        WriteNodeFile(INITIATOR_FILE, text);
        return Name();
    }

    std::string Name()
    {
        std::string iqn = "none";
        const bool isFound = m_device.GetIscsiInitor(iqn);
        EXPECT_EQ(isFound, iqn != "none");
        return iqn;
    }
};

INSTANTIATE_FOR_EACH_AWK(InitiatorNameTest);

TEST_P(InitiatorNameTest, GetIscsiInitorFindsTheNameBehindThePackagesComments)
{
    EXPECT_EQ("iqn.1993-08.org.debian:01:a1b2c3d4e5f6",
              NameIn("## DO NOT EDIT OR REMOVE THIS FILE!\n"
                     "## If you remove this file, the iSCSI daemon will not start.\n"
                     "## If you change the InitiatorName, existing access control lists\n"
                     "## may reject this initiator.  The InitiatorName must be unique\n"
                     "## for each iSCSI initiator.  Do NOT duplicate iSCSI InitiatorNames.\n"
                     "InitiatorName=iqn.1993-08.org.debian:01:a1b2c3d4e5f6\n"));
}

TEST_P(InitiatorNameTest, GetIscsiInitorNeedsNoLineEnd)
{
    EXPECT_EQ("eui.02004567A425678D", NameIn("InitiatorName=eui.02004567A425678D"));
}

TEST_P(InitiatorNameTest, GetIscsiInitorTakesTheFirstOfSeveralNames)
{
    EXPECT_EQ("iqn.2020-01.local:1", NameIn("InitiatorName=iqn.2020-01.local:1\nInitiatorName=iqn.2020-01.local:2\n"));
    EXPECT_EQ("iqn.2020-01.local:old", NameIn("#InitiatorName=iqn.2020-01.local:old\nInitiatorName=iqn.new\n"))
        << "a name that is commented out counts, as it always did";
}

TEST_P(InitiatorNameTest, GetIscsiInitorTakesWhatStandsBetweenTheFirstTwoEqualSigns)
{
    EXPECT_EQ(" iqn.2020-01.local:1 ", NameIn("InitiatorName= iqn.2020-01.local:1 \n"));
    EXPECT_EQ("iqn.2020-01.local:1", NameIn("InitiatorName=iqn.2020-01.local:1=2\n"));
    EXPECT_EQ("iqn.2020-01.local:1\r", NameIn("InitiatorName=iqn.2020-01.local:1\r\n"));
    EXPECT_EQ("", NameIn("InitiatorName=\n"));
}

TEST_P(InitiatorNameTest, GetIscsiInitorFindsNothingInAFileWithoutAName)
{
    EXPECT_EQ("none", NameIn(""));
    EXPECT_EQ("none", NameIn("GenerateName=yes\n"));
    EXPECT_EQ("none", NameIn("InitiatorName = iqn.2020-01.local:1\n"));
    EXPECT_EQ("none", NameIn("InitiatorAlias=node\n"));
}

// Every command of a pipeline but the last may fail unseen: what tells is that there is no output.
TEST_P(InitiatorNameTest, GetIscsiInitorFailsWithoutTheFile)
{
    EXPECT_EQ("none", Name());
}

TEST_P(InitiatorNameTest, GetIscsiInitorFailsOnAFileThatCannotBeRead)
{
    boost::filesystem::create_directories(PathOf("/etc/iscsi"));
    boost::filesystem::create_symlink("/proc/self/mem", PathOf(INITIATOR_FILE)); // not even by root
    EXPECT_EQ("none", Name());
}

} // namespace

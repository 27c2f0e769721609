#include "tests/host/node.h"

using ::testing::ElementsAre;

namespace {

/// A target as the array names it: its portal's address is the seventh piece of the line.
std::string Target(const std::string& address)
{
    return "Target: iqn.2020-01.example.array:a:b:c:d:" + address + " (non-flash)\n";
}

/// One session of the target above it, as `iscsiadm -m session -P 1` tells it.
std::string Session(const std::string& portal, int id, const std::string& connection = "LOGGED IN",
                    const std::string& session = "LOGGED_IN")
{
    return "\tCurrent Portal: " + portal + ",1\n\tPersistent Portal: " + portal +
           ",1\n\t\t**********\n\t\tInterface:\n\t\t**********\n"
           "\t\tIface Name: default\n\t\tIface Transport: tcp\n"
           "\t\tIface Initiatorname: iqn.1993-08.org.debian:01:a1b2c3d4e5f6\n"
           "\t\tIface IPaddress: 10.0.0.77\n\t\tIface HWaddress: default\n\t\tIface Netdev: default\n"
           "\t\tSID: " +
           std::to_string(id) + "\n\t\tiSCSI Connection State: " + connection +
           "\n\t\tiSCSI Session State: " + session + "\n\t\tInternal iscsid Session State: NO CHANGE\n";
}

class LoggedInTargetsTest : public AwkNode {
protected:
    std::vector<std::string> m_ips = {"from before"};
};

INSTANTIATE_FOR_EACH_AWK(LoggedInTargetsTest);

TEST_P(LoggedInTargetsTest, GetLoginTargetIPTellsTheAddressOfASession)
{
    ListsSessions(Target("10.0.0.1") + Session("10.0.0.1:3260", 1));
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before", "10.0.0.1"));
}

TEST_P(LoggedInTargetsTest, GetLoginTargetIPTellsThatOfEveryTargetInTheirOrder)
{
    ListsSessions(Target("10.0.0.2") + Session("10.0.0.2:3260", 2) + Target("10.0.0.1") + Session("10.0.0.1:3260", 1) +
                  Target("10.0.0.10") + Session("10.0.0.10:3260", 7));
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before", "10.0.0.2", "10.0.0.1", "10.0.0.10"));
}

// The target's line is printed once for both.
TEST_P(LoggedInTargetsTest, GetLoginTargetIPTellsOnlyTheStateOfATargetsSecondPortal)
{
    ListsSessions(Target("10.0.0.1") + Session("10.0.0.1:3260", 1) + Session("10.0.0.2:3260", 2));
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before", "10.0.0.1", "LOGGED"));
}

TEST_P(LoggedInTargetsTest, GetLoginTargetIPDoesNotCareForThePortalsFamily)
{
    ListsSessions(Target("10.0.0.1") + Session("[fd00::1]:3260", 1));
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before", "10.0.0.1"));
}

// An IPv6 address in a target's name is cut at its first colon, so that it is never found among the array's addresses.
TEST_P(LoggedInTargetsTest, GetLoginTargetIPTellsTheFirstPieceOfAnIPv6Name)
{
    ListsSessions(Target("fd00::1") + Session("[fd00::1]:3260", 1));
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before", "fd00"));
}

TEST_P(LoggedInTargetsTest, GetLoginTargetIPLeavesOutSessionsWhoseConnectionIsDown)
{
    ListsSessions(Target("10.0.0.1") + Session("10.0.0.1:3260", 1, "TRANSPORT WAIT", "FAILED") + Target("10.0.0.2") +
                  Session("10.0.0.2:3260", 2) + Target("10.0.0.3") + Session("10.0.0.3:3260", 3, "Unknown", "FREE"));
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before", "10.0.0.2"));
}

TEST_P(LoggedInTargetsTest, GetLoginTargetIPOfBrokenSessionsAloneFails)
{
    ListsSessions(Target("10.0.0.1") + Session("10.0.0.1:3260", 1, "TRANSPORT WAIT", "FAILED"));
    EXPECT_FALSE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before"));
}

TEST_P(LoggedInTargetsTest, GetLoginTargetIPWithoutASessionFails)
{
    ListsSessions("", "iscsiadm: No active sessions.\n", 21);
    EXPECT_FALSE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before"));
}

// A target of another maker, whose name has no seventh piece.
TEST_P(LoggedInTargetsTest, GetLoginTargetIPTellsTheStateWhereTheNameHoldsNoAddress)
{
    ListsSessions("Target: iqn.2020-01.example.other:disk (non-flash)\n" + Session("10.0.0.1:3260", 1));
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_ips));
    EXPECT_THAT(m_ips, ElementsAre("from before", "LOGGED"));
}

} // namespace

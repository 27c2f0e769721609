#include "device/device_operate.h"
#include "tests/support/named_row.h"
#include "tests/unit/device/device_test.h"
#include "tests/unit/device/node.h"

#include <algorithm>
#include <numeric>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

class HostInitiatorsTest : public DeviceTest {
protected:
    DeviceOperate m_device;
    std::vector<std::string> m_found = {"from before"};
};

struct CommandRow : NamedRow {
    std::string command;
    bool (*run)(DeviceOperate&);
};

class HostInitiatorsShellTest : public HostInitiatorsTest, public ::testing::WithParamInterface<CommandRow> {};

TEST_P(HostInitiatorsShellTest, CommandRunsForNoRequestAndUnderTheShellsOwnName)
{
    m_shell.On(GetParam().command, {}, 0).Prints("line");
    EXPECT_TRUE(GetParam().run(m_device));
    EXPECT_THAT(m_shell.Calls(), ElementsAre(ShellCall{GetParam().command, {}, 1, "ZavStorage_RunShell", 0}));
}

INSTANTIATE_TEST_SUITE_P(Commands, HostInitiatorsShellTest,
                         ::testing::Values(CommandRow{{"GetIscsiInitor"},
                                                      READ_IQN,
                                                      [](DeviceOperate& device) {
                                                          std::string iqn;
                                                          return device.GetIscsiInitor(iqn);
                                                      }},
                                           CommandRow{{"GetFCInitor"},
                                                      READ_PORT_NAMES,
                                                      [](DeviceOperate& device) {
                                                          std::vector<std::string> wwpns;
                                                          return device.GetFCInitor(wwpns);
                                                      }},
                                           CommandRow{{"GetLoginTargetIP"},
                                                      READ_SESSIONS,
                                                      [](DeviceOperate& device) {
                                                          std::vector<std::string> ips;
                                                          return device.GetLoginTargetIP(ips);
                                                      }}),
                         RowName<CommandRow>);

class IscsiInitiatorNameTest : public HostInitiatorsTest {
protected:
    std::string m_iqn = "untouched";
};

TEST_F(IscsiInitiatorNameTest, GetIscsiInitorTakesTheFirstLineAsItStands)
{
    m_shell.On(READ_IQN, {}, 0).Prints(" iqn.2020-01.local.node:01 ").Prints("iqn.second");
    EXPECT_TRUE(m_device.GetIscsiInitor(m_iqn));
    EXPECT_EQ(" iqn.2020-01.local.node:01 ", m_iqn);
    EXPECT_THAT(LinesOf("GetIscsiInitor"), ElementsAre("1 Enter GetIscsiInitor", "1 End GetIscsiInitor"));
}

TEST_F(IscsiInitiatorNameTest, GetIscsiInitorTakesAnEmptyFirstLineToo)
{
    m_shell.On(READ_IQN, {}, 0).Prints("");
    EXPECT_TRUE(m_device.GetIscsiInitor(m_iqn));
    EXPECT_EQ("", m_iqn);
}

TEST_F(IscsiInitiatorNameTest, GetIscsiInitorFailsWithTheCommand)
{
    m_shell.On(READ_IQN, {}, 1).Prints("iqn.node");
    EXPECT_FALSE(m_device.GetIscsiInitor(m_iqn));
    EXPECT_EQ("untouched", m_iqn);
    EXPECT_THAT(LinesOf("GetIscsiInitor"),
                ElementsAre("1 Enter GetIscsiInitor", "4 get iscsi Initiator ID error. ", "1 End GetIscsiInitor"));
}

TEST_F(IscsiInitiatorNameTest, GetIscsiInitorFailsWithoutALine)
{
    m_shell.On(READ_IQN, {}, 0);
    EXPECT_FALSE(m_device.GetIscsiInitor(m_iqn));
    EXPECT_EQ("untouched", m_iqn);
    EXPECT_THAT(LinesOf("GetIscsiInitor"),
                ElementsAre("1 Enter GetIscsiInitor", "4 get iscsi Initiator ID error. ", "1 End GetIscsiInitor"));
}

class FCPortNamesTest : public HostInitiatorsTest {};

TEST_F(FCPortNamesTest, GetFCInitorAppendsThePortNamesWithoutTheirPrefix)
{
    m_shell.On(READ_PORT_NAMES, {}, 0)
        .Prints("0x21000024ff4b8c1a")
        .Prints("21000024FF4B8C1B")
        .Prints("0x21000024ff4b8c1a")
        .Prints("0x10x2");
    EXPECT_TRUE(m_device.GetFCInitor(m_found));
    EXPECT_THAT(m_found, ElementsAre("from before", "21000024ff4b8c1a", "21000024FF4B8C1B", "21000024ff4b8c1a", "12"));
    EXPECT_THAT(LinesOf("GetFCInitor"), ElementsAre("1 Enter GetFCInitor", "1 End GetFCInitor"));
}

TEST_F(FCPortNamesTest, GetFCInitorFailsOnANodeWithoutFc)
{
    m_shell.On(READ_PORT_NAMES, {}, 1).Prints("0x21000024ff4b8c1a");
    EXPECT_FALSE(m_device.GetFCInitor(m_found));
    EXPECT_THAT(m_found, ElementsAre("from before"));
    EXPECT_THAT(LinesOf("GetFCInitor"),
                ElementsAre("1 Enter GetFCInitor", "4 get FC Initiator ID error. ", "1 End GetFCInitor"));
}

TEST_F(FCPortNamesTest, GetFCInitorFailsWithoutALine)
{
    m_shell.On(READ_PORT_NAMES, {}, 0);
    EXPECT_FALSE(m_device.GetFCInitor(m_found));
    EXPECT_THAT(m_found, ElementsAre("from before"));
    EXPECT_THAT(LinesOf("GetFCInitor"),
                ElementsAre("1 Enter GetFCInitor", "4 get FC Initiator ID count is 0. ", "1 End GetFCInitor"));
}

class LoggedInTargetsTest : public HostInitiatorsTest {};

TEST_F(LoggedInTargetsTest, GetLoginTargetIPAppendsAndTellsEachAddress)
{
    m_shell.On(READ_SESSIONS, {}, 0).Prints("10.0.0.8").Prints("10.0.0.9");
    EXPECT_TRUE(m_device.GetLoginTargetIP(m_found));
    EXPECT_THAT(m_found, ElementsAre("from before", "10.0.0.8", "10.0.0.9"));
    EXPECT_THAT(LinesOf("GetLoginTargetIP"),
                ElementsAre("1 Enter GetLoginTargetIP", "1 GetLoginTargetIP Message: 10.0.0.8",
                            "1 GetLoginTargetIP Message: 10.0.0.9", "1 End GetLoginTargetIP"));
}

TEST_F(LoggedInTargetsTest, GetLoginTargetIPFailsWithTheCommand)
{
    m_shell.On(READ_SESSIONS, {}, 21).Prints("10.0.0.8");
    EXPECT_FALSE(m_device.GetLoginTargetIP(m_found));
    EXPECT_THAT(m_found, ElementsAre("from before"));
    EXPECT_THAT(LinesOf("GetLoginTargetIP"),
                ElementsAre("1 Enter GetLoginTargetIP", "4 GetLoginTargetIP error. ", "1 End GetLoginTargetIP"));
}

TEST_F(LoggedInTargetsTest, GetLoginTargetIPFailsWithoutASession)
{
    m_shell.On(READ_SESSIONS, {}, 0);
    EXPECT_FALSE(m_device.GetLoginTargetIP(m_found));
    EXPECT_THAT(m_found, ElementsAre("from before"));
    EXPECT_THAT(LinesOf("GetLoginTargetIP"),
                ElementsAre("1 Enter GetLoginTargetIP", "4 Logined TargetIP count is 0. ", "1 End GetLoginTargetIP"));
}

// The node logs into the portal 10.0.0.8, unless a test says otherwise.
class IscsiLoginTest : public HostInitiatorsTest {
protected:
    IscsiLoginTest() { m_http.AcceptsConnection("http://10.0.0.8:3260"); }

    int LogIn(const std::string& targetIp = "10.0.0.8")
    {
        DevChAPInfo chap = {"user", "password"};
        const int result = m_device.LoginIscsiTarget("iqn.node", targetIp, KEY, chap);
        EXPECT_EQ("user", chap.userName);
        EXPECT_EQ("password", chap.password);
        return result;
    }

    const Record m_recorded = {{"IQN", "iqn.node"}, {"PROTOCOLTYPE", "iscsi"}};
};

TEST_F(IscsiLoginTest, LoginIscsiTargetTestsDiscoversLogsInAndRecords)
{
    m_config.Set("TestNetTimeOut", 9);
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0);
    m_shell.On(LOGIN, {"10.0.0.8"}, 0);
    EXPECT_EQ(0, LogIn());
    EXPECT_EQ(1, m_http.ClientsMade());
    EXPECT_THAT(m_config.Reads(), ElementsAre("BackupNode/TestNetTimeOut"));
    EXPECT_THAT(m_http.ConnectionTests(), ElementsAre(Pair("http://10.0.0.8:3260", 9)));
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(m_shell.Calls(), ElementsAre(ShellCall{DISCOVER, {"10.0.0.8"}, 1, "ZavStorage_RunShell", 0},
                                             ShellCall{LOGIN, {"10.0.0.8"}, 1, "ZavStorage_RunShell", 0}));
    EXPECT_EQ(m_recorded, FileRecord());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"),
                ElementsAre("1 Enter LoginIscsiTarget", "1 login iscsi. ret:0", "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetKeepsWhatElseIsRecorded)
{
    WriteRecord({{"HOSTID", "12"}, {"IQN", "iqn.old"}});
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0);
    m_shell.On(LOGIN, {"10.0.0.8"}, 0);
    EXPECT_EQ(0, LogIn());
    EXPECT_THAT(FileRecord(),
                ElementsAre(Pair("HOSTID", "12"), Pair("IQN", "iqn.node"), Pair("PROTOCOLTYPE", "iscsi")));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetBracketsAnIpv6AddressForTheTestOnly)
{
    m_http.AcceptsConnection("http://[fe80::5]:3260");
    m_shell.On(DISCOVER, {"fe80::5"}, 0);
    m_shell.On(LOGIN, {"fe80::5"}, 0);
    EXPECT_EQ(0, LogIn("fe80::5"));
    EXPECT_THAT(m_shell.Lines(),
                ElementsAre("iscsiadm -m discovery --op=new -t st -p 'fe80::5'", "iscsiadm -m node -p 'fe80::5' -l"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetWithoutAClientDoesNothing)
{
    m_http.RefuseClients();
    EXPECT_EQ(1, LogIn());
    EXPECT_THAT(m_config.Reads(), IsEmpty());
    EXPECT_THAT(m_shell.Calls(), IsEmpty());
    EXPECT_EQ("", FileText());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"),
                ElementsAre("1 Enter LoginIscsiTarget", "4 create http client failed", "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetOfAnUnreachablePortalRunsNoCommand)
{
    EXPECT_EQ(1, LogIn("10.0.0.9"));
    EXPECT_THAT(m_http.ConnectionTests(), ElementsAre(Pair("http://10.0.0.9:3260", 3)));
    EXPECT_THAT(m_shell.Calls(), IsEmpty());
    EXPECT_EQ("", FileText());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"),
                ElementsAre("1 Enter LoginIscsiTarget", "4 Target address is unreachable, address is 10.0.0.9",
                            "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetReturnsTheCodeOfAFailedDiscovery)
{
    m_shell.On(DISCOVER, {"10.0.0.8"}, 21).Complains(ALREADY_PRESENT);
    EXPECT_EQ(21, LogIn());
    EXPECT_THAT(m_shell.Calls(), SizeIs(1));
    EXPECT_EQ("", FileText());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"),
                ElementsAre("1 Enter LoginIscsiTarget", "4 discovery target failed, return error is:21",
                            "4 iscsiadm said: 1 session requested, but 1 already present", "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetTellsWhatAFailedLoginSaid)
{
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0).Complains("a warning of the discovery");
    m_shell.On(LOGIN, {"10.0.0.8"}, 19).Complains("iscsiadm: \x1b[31mrefused").Complains("iscsiadm: (19)");
    EXPECT_EQ(19, LogIn());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"),
                ElementsAre("1 Enter LoginIscsiTarget", "1 login iscsi. ret:19",
                            "4 login target failed, return error is:19",
                            "4 iscsiadm said: iscsiadm: \\x1b[31mrefused; iscsiadm: (19)", "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetLooksAtTheLoginsOwnWordsAlone)
{
    // A runner that adds to what it was given, as one of somebody else's may.
    m_shell.AppendOutput();
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0).Complains(ALREADY_PRESENT);
    m_shell.On(LOGIN, {"10.0.0.8"}, 19).Complains("refused");
    EXPECT_EQ(19, LogIn());
}

TEST_F(IscsiLoginTest, LoginIscsiTargetWithAClientThatThrowsReachesNothing)
{
    m_http.ThrowOnCreate("no socket left");
    EXPECT_EQ(1, LogIn());
    EXPECT_THAT(m_shell.Calls(), IsEmpty());
    EXPECT_THAT(
        LinesOf("LoginIscsiTarget"),
        ElementsAre("1 Enter LoginIscsiTarget", "4 The HTTP client failed: no socket left", "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetRecordsAFailedLoginToo)
{
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0);
    m_shell.On(LOGIN, {"10.0.0.8"}, 24);
    EXPECT_EQ(24, LogIn());
    EXPECT_EQ(m_recorded, FileRecord());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"),
                ElementsAre("1 Enter LoginIscsiTarget", "1 login iscsi. ret:24",
                            "4 login target failed, return error is:24", "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetThatCannotRecordReturnsOne)
{
    RemoveConfFolder();
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0);
    m_shell.On(LOGIN, {"10.0.0.8"}, 0);
    EXPECT_EQ(1, LogIn());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"), ElementsAre("1 Enter LoginIscsiTarget", "1 login iscsi. ret:0",
                                                         "4 write to config failed.", "1 End LoginIscsiTarget"));
}

TEST_F(IscsiLoginTest, LoginIscsiTargetThatCannotRecordAFailedLoginReturnsOne)
{
    RemoveConfFolder();
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0);
    m_shell.On(LOGIN, {"10.0.0.8"}, 24);
    EXPECT_EQ(1, LogIn());
}

struct PresentRow : NamedRow {
    std::vector<std::string> errors;
    int code;
    int result;
};

class IscsiLoginPresentTest : public IscsiLoginTest, public ::testing::WithParamInterface<PresentRow> {};

TEST_P(IscsiLoginPresentTest, LoginIscsiTargetLooksForAPresentSessionInTheFirstErrorLine)
{
    const PresentRow& row = GetParam();
    m_shell.On(DISCOVER, {"10.0.0.8"}, 0).Complains(ALREADY_PRESENT);
    ShellResult& login = m_shell.On(LOGIN, {"10.0.0.8"}, row.code);
    for (const std::string& line : row.errors) {
        login.Complains(line);
    }
    EXPECT_EQ(row.result, LogIn());
    EXPECT_THAT(LinesOf("LoginIscsiTarget"), Contains("1 login iscsi. ret:" + std::to_string(row.code)));
    const std::vector<std::string> lines = LinesOf("LoginIscsiTarget");
    const std::string failure = "4 login target failed, return error is:" + std::to_string(row.code);
    EXPECT_EQ(row.result != 0, std::count(lines.begin(), lines.end(), failure) == 1);
    EXPECT_EQ(m_recorded, FileRecord());
}

INSTANTIATE_TEST_SUITE_P(
    Errors, IscsiLoginPresentTest,
    ::testing::Values(PresentRow{{"FirstLine"}, {ALREADY_PRESENT}, 15, 0},
                      PresentRow{{"WithinTheFirstLine"}, {"iscsiadm: " + ALREADY_PRESENT + "!", "more"}, 15, 0},
                      PresentRow{{"LaterLine"}, {"iscsiadm: Could not log in", ALREADY_PRESENT}, 15, 15},
                      PresentRow{{"OtherCount"}, {"2 sessions requested, but 1 already present"}, 15, 15},
                      PresentRow{{"NoLine"}, {}, 15, 15},
                      PresentRow{{"SuccessWithWarning"}, {"iscsiadm: a warning"}, 0, 0}),
    RowName<PresentRow>);

class RandomNameTest : public HostInitiatorsTest {
protected:
    std::string m_name = "untouched";
};

TEST_F(RandomNameTest, GetRandStrPutsThePrefixBeforeItsCharacters)
{
    EXPECT_TRUE(m_device.GetRandStr(m_name, 16));
    EXPECT_THAT(m_name, SizeIs(24));
    EXPECT_EQ("Vendrix_", m_name.substr(0, 8));
    EXPECT_EQ(std::string::npos,
              m_name.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_"));
    EXPECT_EQ(16, m_random.Draws());
    EXPECT_THAT(LinesOf("GetRandStr"), ElementsAre("1 Enter GetRandStr", "1 End GetRandStr"));
}

TEST_F(RandomNameTest, GetRandStrHasSixtyThreeCharactersInTheirOrder)
{
    std::vector<std::uint32_t> numbers(63);
    std::iota(numbers.begin(), numbers.end(), 0);
    m_random.Give(numbers);
    EXPECT_TRUE(m_device.GetRandStr(m_name, 63));
    EXPECT_EQ("Vendrix_0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_", m_name);
}

TEST_F(RandomNameTest, GetRandStrTakesTheWholeNumberModuloSixtyThree)
{
    m_random.Give({63, 64, 4294967295U, 256, 16777216});
    EXPECT_TRUE(m_device.GetRandStr(m_name, 5));
    EXPECT_EQ("Vendrix_01341", m_name);
}

TEST_F(RandomNameTest, GetRandStrOfNoLengthIsThePrefix)
{
    EXPECT_TRUE(m_device.GetRandStr(m_name, 0));
    EXPECT_EQ("Vendrix_", m_name);
    EXPECT_EQ(0, m_random.Draws());
}

TEST_F(RandomNameTest, GetRandStrReachesALengthOf1023)
{
    EXPECT_TRUE(m_device.GetRandStr(m_name, 1023));
    EXPECT_THAT(m_name, SizeIs(8 + 1023));
}

TEST_F(RandomNameTest, GetRandStrRefusesALengthOf1024)
{
    EXPECT_FALSE(m_device.GetRandStr(m_name, 1024));
    EXPECT_EQ("untouched", m_name);
    EXPECT_EQ(0, m_random.Draws());
    EXPECT_THAT(LinesOf("GetRandStr"),
                ElementsAre("1 Enter GetRandStr", "4 get random string failed, length 1024 is not below 1024",
                            "1 End GetRandStr"));
}

TEST_F(RandomNameTest, GetRandStrDrawsAgainAfterTwoFailures)
{
    m_random.Give({1});
    m_random.Fail(2, -1);
    m_random.Give({2});
    m_random.Fail(2, 0);
    m_random.Give({3});
    EXPECT_TRUE(m_device.GetRandStr(m_name, 3));
    EXPECT_EQ("Vendrix_123", m_name);
    EXPECT_EQ(7, m_random.Draws());
}

struct FailureRow : NamedRow {
    int failures;
    int result;
};

class RandomNameFailureTest : public RandomNameTest, public ::testing::WithParamInterface<FailureRow> {};

TEST_P(RandomNameFailureTest, GetRandStrGivesUpWhenBytesComeAgainAfterThreeFailures)
{
    m_random.Give({1});
    m_random.Fail(GetParam().failures, GetParam().result);
    m_random.Give({2, 3});
    EXPECT_FALSE(m_device.GetRandStr(m_name, 3));
    EXPECT_EQ("untouched", m_name);
    EXPECT_EQ(1 + GetParam().failures + 1, m_random.Draws());
    EXPECT_THAT(
        LinesOf("GetRandStr"),
        ElementsAre("1 Enter GetRandStr", "4 get random string failed, have been retry 3 times.", "1 End GetRandStr"));
}

INSTANTIATE_TEST_SUITE_P(Failures, RandomNameFailureTest,
                         ::testing::Values(FailureRow{{"Three"}, 3, 0}, FailureRow{{"ThreeNegative"}, 3, -1},
                                           FailureRow{{"Many"}, 1000, 0}),
                         RowName<FailureRow>);

} // namespace

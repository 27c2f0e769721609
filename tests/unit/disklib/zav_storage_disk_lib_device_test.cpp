#include "tests/unit/freed_memory.h"
#include "tests/unit/keeper_test.h"

#include <cstdint>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

// Through the process's keeper, whichever object is asked.
class ZavStorageDiskLibDeviceTest : public KeeperTest {
protected:
    void Get(const EnvironmentPath& env) { m_keeper.GetDeviceInfoByEnv(env, m_url, m_user, m_password); }

    std::string m_url = "untouched";
    std::string m_user = "untouched";
    std::string m_password = "untouched";
};

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvTellsWhatWorks)
{
    AcceptLogin(FIRST);
    Get(Environment({FIRST, SECOND}));
    EXPECT_EQ(UrlOf(FIRST), m_url);
    EXPECT_EQ("admin", m_user);
    EXPECT_EQ("secret", m_password);
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(FIRST)));
    EXPECT_EQ("", m_http.Requests().front().optionText);
    EXPECT_THAT(KeeperLines(), Not(Contains(Field(&LogLine::level, 3))));
    EXPECT_THAT(m_log.Lines().front(), IsLineOf("GetDeviceInfoByEnv", 1, "Enter GetDeviceInfoByEnv"));
    EXPECT_THAT(m_log.Lines().back(), IsLineOf("GetDeviceInfoByEnv", 1, "End GetDeviceInfoByEnv"));
}

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvCachesTheSessionInTheProcesssKeeper)
{
    AcceptLogin(FIRST);
    Get(Environment({FIRST}));
    m_http.Clear();
    EXPECT_EQ(0, ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    EXPECT_THAT(m_http.Requests(), IsEmpty());
}

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvReadsTheFirstEntryOfEachList)
{
    EnvironmentPath env = Environment({FIRST});
    env.add_management_ips(THIRD);
    env.add_user_names("second user");
    env.add_encrypted_passwords("cipher:second secret");
    env.add_ports(1);
    env.add_protocols(1);
    AcceptLogin(FIRST);
    Get(env);
    EXPECT_EQ(UrlOf(FIRST), m_url);
    EXPECT_EQ("admin", m_user);
    EXPECT_EQ("secret", m_password);
}

struct UrlRow {
    const char* name;
    int protocol;
    std::uint64_t port;
    const char* url;
};

class ZavStorageDiskLibUrlTest : public ZavStorageDiskLibDeviceTest, public ::testing::WithParamInterface<UrlRow> {};

TEST_P(ZavStorageDiskLibUrlTest, GetDeviceInfoByEnvMakesTheUrlOfProtocolAddressAndPort)
{
    EnvironmentPath env = Environment({FIRST});
    env.set_protocols(0, GetParam().protocol);
    env.set_ports(0, GetParam().port);
    m_http.Next(Data(R"({"deviceid": "DEV1", "iBaseToken": "T"})").WithCookie("c"));
    Get(env);
    EXPECT_EQ(GetParam().url, m_url);
    EXPECT_THAT(m_http.Lines(), ElementsAre("POST " + m_url + "/deviceManager/rest//sessions"));
}

INSTANTIATE_TEST_SUITE_P(Environment, ZavStorageDiskLibUrlTest,
                         ::testing::Values(UrlRow{"ProtocolOneIsHttp", 1, 80, "http://10.0.0.1:80"},
                                           UrlRow{"ProtocolZeroIsHttps", 0, 443, "https://10.0.0.1:443"},
                                           UrlRow{"AnyOtherProtocolIsHttps", 2, 8088, "https://10.0.0.1:8088"},
                                           UrlRow{"PortIsUnsignedWithSixtyFourBits", 0, UINT64_MAX,
                                                  "https://10.0.0.1:18446744073709551615"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvFallsBackToAnotherAddress)
{
    RefuseLogin(FIRST, NetworkError("no route"));
    AcceptLogin(SECOND);
    Get(Environment({FIRST, SECOND}));
    EXPECT_EQ(UrlOf(SECOND), m_url);
    EXPECT_THAT(KeeperLines(), Not(Contains(Field(&LogLine::function, "GetDeviceInfoByEnv"))));
}

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvThatFindsNoAddressTellsTheFirstUrl)
{
    RefuseLogin(FIRST, NetworkError("no route"));
    RefuseLogin(SECOND, ArrayError(9, "busy"));
    Get(Environment({FIRST, SECOND}));
    EXPECT_EQ(UrlOf(FIRST), m_url);
    EXPECT_EQ("admin", m_user);
    EXPECT_EQ("secret", m_password);
    EXPECT_THAT(KeeperLines(),
                Contains(IsLineOf("GetDeviceInfoByEnv", 3, "Login Zav device failed: busy The error code is 9")));
}

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvDoesNotRetryAConfiguredCode)
{
    m_config.SetNotRetryErrorCodes({9});
    RefuseLogin(FIRST, ArrayError(9, "locked"));
    Get(Environment({FIRST, SECOND}));
    EXPECT_EQ(UrlOf(FIRST), m_url);
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(FIRST)));
    EXPECT_THAT(KeeperLines(),
                Contains(IsLineOf("GetDeviceInfoByEnv", 3, "Login Zav device failed: locked The error code is 9")));
}

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvWipesItsPasswordThreeTimes)
{
    AcceptLogin(FIRST);
    m_calls.Forget();
    Get(Environment({FIRST}));
    // Its own record's password is wiped last of all.
    const std::vector<SystemCalls::Wipe> wipes = m_calls.Wipes();
    ASSERT_GE(wipes.size(), 3U);
    const std::string& before = wipes[wipes.size() - 3].bytes;
    EXPECT_EQ("secret", before.substr(0, 6));
    const std::string zeros(before.size(), '\0');
    EXPECT_EQ(zeros, wipes[wipes.size() - 2].bytes);
    EXPECT_EQ(zeros, wipes[wipes.size() - 1].bytes);
}

TEST_F(ZavStorageDiskLibDeviceTest, GetDeviceInfoByEnvWithAPasswordThatCannotBeDecryptedFails)
{
    EnvironmentPath env = Environment({FIRST});
    env.set_encrypted_passwords(0, "garbage");
    Get(env);
    EXPECT_EQ(UrlOf(FIRST), m_url);
    EXPECT_EQ("admin", m_user);
    EXPECT_EQ("", m_password);
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("GetDeviceInfoByEnv", 4, "Decrypt password failed. User is admin")));
}

class ZavStorageDiskLibOldPasswordTest : public ZavStorageDiskLibDeviceTest,
                                         public ::testing::WithParamInterface<const char*> {};

TEST_P(ZavStorageDiskLibOldPasswordTest, GetDeviceInfoByEnvLeavesNoTraceOfAnOlderPassword)
{
    AcceptLogin(FIRST);
    const std::string older = "an-older-password-that-needs-a-buffer-of-its-own";
    m_password = older;
    EnvironmentPath env = Environment({FIRST});
    env.set_encrypted_passwords(0, GetParam());
    m_calls.Forget();
    Get(env);
    bool isWiped = false;
    for (const SystemCalls::Wipe& wipe : m_calls.Wipes()) {
        isWiped = isWiped || wipe.bytes.find(older) != std::string::npos;
    }
    EXPECT_TRUE(isWiped);
}

INSTANTIATE_TEST_SUITE_P(Of, ZavStorageDiskLibOldPasswordTest, ::testing::Values("cipher:secret", "garbage"),
                         [](const auto& row) { return row.param[0] == 'c' ? "Decrypted" : "Garbage"; });

// Without SystemCalls, which keep what is wiped.
class ZavStorageDiskLibPasswordMemoryTest : public FakesTest {
protected:
    void TearDown() override { ZavStorageDiskLib::GetInstance()->StopCheckThread(); }
};

TEST_F(ZavStorageDiskLibPasswordMemoryTest, GetDeviceInfoByEnvGivesNoMemoryBackThatHoldsThePassword)
{
    const std::string secret = "a-password-that-needs-a-buffer-of-its-own";
    m_http.RefuseClients(); // the fake client would keep the login's body
    EnvironmentPath env;
    env.add_management_ips("10.0.0.1");
    env.add_user_names("admin");
    env.add_encrypted_passwords("cipher:" + secret);
    env.add_ports(8088);
    env.add_protocols(0);
    std::string url;
    std::string user;
    std::string password;
    FreedMemory memory({secret});
    memory.During([&] { ZavStorageDiskLib::GetInstance()->GetDeviceInfoByEnv(env, url, user, password); });
    EXPECT_EQ(secret, password);
    EXPECT_EQ(0, memory.Holding(secret));
}

struct MissingRow {
    const char* name;
    void (EnvironmentPath::*clear)();
    const char* list;
};

class ZavStorageDiskLibMissingListTest : public ZavStorageDiskLibDeviceTest,
                                         public ::testing::WithParamInterface<MissingRow> {};

TEST_P(ZavStorageDiskLibMissingListTest, GetDeviceInfoByEnvNamesTheListThatIsEmpty)
{
    EnvironmentPath env = Environment({FIRST});
    (env.*GetParam().clear)();
    Get(env);
    EXPECT_EQ("untouched", m_url);
    EXPECT_EQ("untouched", m_user);
    EXPECT_EQ("untouched", m_password);
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(KeeperLines(), ElementsAre(IsLineOf("GetDeviceInfoByEnv", 4,
                                                    std::string("The environment has no entry in its ") +
                                                        GetParam().list + " list.")));
}

INSTANTIATE_TEST_SUITE_P(
    List, ZavStorageDiskLibMissingListTest,
    ::testing::Values(MissingRow{"ManagementIps", &EnvironmentPath::clear_management_ips, "management IP"},
                      MissingRow{"UserNames", &EnvironmentPath::clear_user_names, "user name"},
                      MissingRow{"Passwords", &EnvironmentPath::clear_encrypted_passwords, "encrypted password"},
                      MissingRow{"Ports", &EnvironmentPath::clear_ports, "port"},
                      MissingRow{"Protocols", &EnvironmentPath::clear_protocols, "protocol"}),
    [](const auto& row) { return row.param.name; });

} // namespace

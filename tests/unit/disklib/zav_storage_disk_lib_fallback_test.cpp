#include "tests/unit/keeper_test.h"

#include <boost/make_shared.hpp>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;

namespace {

constexpr const char* NO_OTHER =
    "Didn't find another Valid Mgmt IP or there is only one Mgmt IP, still use the original url: ";

std::string Trying(const std::string& url)
{
    return "Try to use this Mgmt URL: " + url;
}

std::string NeedToRetry(int code)
{
    return "Need to retry other Mgmt IPs,error code is " + std::to_string(code);
}

std::string NoNeedToRetry(int code)
{
    return "Don't need to retry other Mgmt IPs,error code is " + std::to_string(code);
}

std::string Failed(const std::string& url, const std::string& errorText, int code)
{
    return "Login Zav device failed using this mgmt IP:  " + url + ", error msg is " + errorText + ", error code is " +
           std::to_string(code);
}

// ---- which codes are worth another address

struct RetryRow {
    const char* name;
    int code;
    bool isRetried;
};

class ZavStorageDiskLibRetryTest : public KeeperTest, public ::testing::WithParamInterface<RetryRow> {};

TEST_P(ZavStorageDiskLibRetryTest, CheckIfNeedToRetryAcceptsEveryFailureThatIsNotConfigured)
{
    m_config.SetNotRetryErrorCodes({1090519061, -1000});
    const auto [name, code, isRetried] = GetParam();
    EXPECT_EQ(isRetried, m_keeper.CheckIfNeedToRetry(code));
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("CheckIfNeedToRetry", 1, isRetried ? NeedToRetry(code) : NoNeedToRetry(code))));
}

INSTANTIATE_TEST_SUITE_P(Code, ZavStorageDiskLibRetryTest,
                         ::testing::Values(RetryRow{"Success", 0, false}, RetryRow{"Configured", 1090519061, false},
                                           RetryRow{"ConfiguredAndRetryable", -1000, false},
                                           RetryRow{"Transport", -20000, true}, RetryRow{"LocalFailure", -1, true},
                                           RetryRow{"UnknownCode", 1090519062, true}),
                         [](const auto& row) { return row.param.name; });

class ZavStorageDiskLibCodesTest : public KeeperTest {};

TEST_F(ZavStorageDiskLibCodesTest, SuccessIsNeverRetriedWhateverIsConfigured)
{
    m_config.SetNotRetryErrorCodes({});
    EXPECT_FALSE(m_keeper.CheckIfNeedToRetry(0));
}

TEST_F(ZavStorageDiskLibCodesTest, ConfigurationIsReadAfreshEachTime)
{
    EXPECT_TRUE(m_keeper.CheckIfNeedToRetry(7));
    m_config.SetNotRetryErrorCodes({7});
    EXPECT_FALSE(m_keeper.CheckIfNeedToRetry(7));
    m_config.SetNotRetryErrorCodes({});
    EXPECT_TRUE(m_keeper.CheckIfNeedToRetry(7));
}

TEST_F(ZavStorageDiskLibCodesTest, CheckIfNeedToRetryMarksEntryAndExit)
{
    m_keeper.CheckIfNeedToRetry(0);
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLine(1, "Enter CheckIfNeedToRetry"), IsLine(1, NoNeedToRetry(0)),
                                           IsLine(1, "End CheckIfNeedToRetry")));
}

TEST_F(ZavStorageDiskLibCodesTest, IsRetryableKnowsSevenCodes)
{
    for (const int code : {-20000, 1077949067, 1077949006, -408, -500, -1000, -401}) {
        EXPECT_TRUE(m_keeper.IsRetryable(code)) << code;
    }
    for (const int code : {0, -1, -2, 1, 408, 500, -404, -19999, -20001, 1077949066, 1077949005, 200000}) {
        EXPECT_FALSE(m_keeper.IsRetryable(code)) << code;
    }
}

TEST_F(ZavStorageDiskLibCodesTest, IsRetryableMarksEntryAndExit)
{
    m_keeper.IsRetryable(0);
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("IsRetryable", 1, "Enter IsRetryable"),
                                           IsLineOf("IsRetryable", 1, "End IsRetryable")));
}

// ---- going through the other addresses

class ZavStorageDiskLibFallbackTest : public KeeperTest {
protected:
    ZavStorageDiskLibFallbackTest() { m_device = Device(FIRST); }

    int Try(const std::vector<std::string>& addresses)
    {
        return m_keeper.TryToGetAValidMgmtIP(Environment(addresses), m_device, m_api, m_errorText);
    }

    Zav::DeviceInfo m_device;
};

TEST_F(ZavStorageDiskLibFallbackTest, TryToGetAValidMgmtIPTakesTheFirstAddressThatAccepts)
{
    RefuseLogin(SECOND, ArrayError(9, "busy"));
    AcceptLogin(THIRD);
    EXPECT_EQ(0, Try({FIRST, SECOND, THIRD, "10.0.0.4"}));
    EXPECT_EQ(UrlOf(THIRD), m_device.url);
    EXPECT_THAT(m_api, NotNull());
    EXPECT_EQ("", m_errorText);
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(SECOND), LoginLine(THIRD)));
    EXPECT_THAT(m_device.otherMgmtIps, ElementsAre(SECOND, THIRD, "10.0.0.4"));
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("TryToGetAValidMgmtIP", 1, Trying(UrlOf(SECOND))),
                            IsLineOf("GetLoginedZavRestApi", 4, "Login zav device failed. Error code is 9"),
                            IsLineOf("CheckIfNeedToRetry", 1, NeedToRetry(9)),
                            IsLineOf("TryToGetAValidMgmtIP", 3, Failed(UrlOf(SECOND), "busy", 9)),
                            IsLineOf("TryToGetAValidMgmtIP", 1, Trying(UrlOf(THIRD))),
                            IsLineOf("GetLoginedZavRestApi", 1,
                                     "Login zav device successfully! Device url is https://10.0.0.3:8088"),
                            IsLineOf("CheckIfNeedToRetry", 1, NoNeedToRetry(0)),
                            IsLineOf("TryToGetAValidMgmtIP", 2,
                                     "Succeed to login Zav device using this mgmt IP URL:  https://10.0.0.3:8088")));
}

TEST_F(ZavStorageDiskLibFallbackTest, SessionOfAnotherAddressIsCachedUnderItsUrl)
{
    AcceptLogin(SECOND);
    ASSERT_EQ(0, Try({FIRST, SECOND}));
    m_http.Clear();
    boost::shared_ptr<ZavRestApi> again;
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(SECOND), again, m_errorText));
    EXPECT_EQ(m_api, again);
    AcceptLogin(FIRST);
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), again, m_errorText));
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(FIRST)));
}

TEST_F(ZavStorageDiskLibFallbackTest, TryToGetAValidMgmtIPWithoutAnotherAddressGivesMinusOne)
{
    EXPECT_EQ(-1, Try({FIRST}));
    EXPECT_EQ(UrlOf(FIRST), m_device.url);
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(KeeperLines(), ElementsAre(IsLineOf("TryToGetAValidMgmtIP", 3, NO_OTHER + UrlOf(FIRST))));
}

TEST_F(ZavStorageDiskLibFallbackTest, TryToGetAValidMgmtIPThatFailsEverywhereGivesTheLastCodeAndTheStartingUrl)
{
    m_device.url = "https://starting:1";
    RefuseLogin(SECOND, ArrayError(9, "busy"));
    RefuseLogin(THIRD, NetworkError("no route"));
    EXPECT_EQ(-20000, Try({FIRST, SECOND, THIRD}));
    EXPECT_EQ("https://starting:1", m_device.url);
    EXPECT_THAT(m_api, IsNull());
    EXPECT_EQ("no route", m_errorText);
    const std::vector<LogLine> lines = KeeperLines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_THAT(lines[lines.size() - 2], IsLineOf("TryToGetAValidMgmtIP", 3, Failed(UrlOf(THIRD), "no route", -20000)));
    EXPECT_THAT(lines.back(), IsLineOf("TryToGetAValidMgmtIP", 3, std::string(NO_OTHER) + "https://starting:1"));
}

TEST_F(ZavStorageDiskLibFallbackTest, CodeThatIsNotWorthAnotherAddressEndsTheWalk)
{
    m_config.SetNotRetryErrorCodes({9});
    RefuseLogin(SECOND, ArrayError(9, "locked"));
    EXPECT_EQ(9, Try({FIRST, SECOND, THIRD}));
    EXPECT_EQ(UrlOf(FIRST), m_device.url);
    EXPECT_EQ("locked", m_errorText);
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(SECOND)));
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("TryToGetAValidMgmtIP", 1, Trying(UrlOf(SECOND))),
                            IsLineOf("GetLoginedZavRestApi", 4, "Login zav device failed. Error code is 9"),
                            IsLineOf("CheckIfNeedToRetry", 1, NoNeedToRetry(9)),
                            IsLineOf("TryToGetAValidMgmtIP", 3, Failed(UrlOf(SECOND), "locked", 9)),
                            IsLineOf("TryToGetAValidMgmtIP", 3, NO_OTHER + UrlOf(FIRST))));
}

TEST_F(ZavStorageDiskLibFallbackTest, AddressesOfAnEarlierWalkAreNotTriedAgain)
{
    m_device.otherMgmtIps = {"10.9.9.9"};
    AcceptLogin(SECOND);
    EXPECT_EQ(0, Try({FIRST, SECOND}));
    EXPECT_THAT(m_device.otherMgmtIps, ElementsAre(SECOND));
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(SECOND)));
}

TEST_F(ZavStorageDiskLibFallbackTest, UrlIsMadeOfTheRecordsProtocolAndPortAsTheEnvironmentGivesThem)
{
    EnvironmentPath env = Environment({FIRST, SECOND});
    env.set_protocols(0, 1);
    env.set_ports(0, 80);
    m_http.On("POST", "http://10.0.0.2:80/deviceManager/rest//sessions",
              Data(R"({"deviceid": "DEV1", "iBaseToken": "T"})").WithCookie("c"));
    EXPECT_EQ(0, m_keeper.TryToGetAValidMgmtIP(env, m_device, m_api, m_errorText));
    EXPECT_EQ("http://10.0.0.2:80", m_device.url);
}

TEST_F(ZavStorageDiskLibFallbackTest, CertificateOfTheNewAddressIsCheckedAndItsRefusalChangesNothing)
{
    AcceptLogin(SECOND);
    EnvironmentPath env = Environment({FIRST, SECOND});
    env.add_certificates("PEM");
    EXPECT_EQ(0, m_keeper.TryToGetAValidMgmtIP(env, m_device, m_api, m_errorText));
    ASSERT_EQ(1U, m_cert.Verifications().size());
    EXPECT_EQ(SECOND, m_cert.Verifications().front().env.management_ips(0));
    EXPECT_THAT(
        KeeperLines(),
        ElementsAre(
            IsLineOf("TryToGetAValidMgmtIP", 1, Trying(UrlOf(SECOND))),
            IsLineOf("GetLoginedZavRestApi", 1, "Login zav device successfully! Device url is https://10.0.0.2:8088"),
            IsLineOf("CheckIfNeedToRetry", 1, NoNeedToRetry(0)),
            IsLineOf("TryToGetAValidMgmtIP", 2,
                     "Succeed to login Zav device using this mgmt IP URL:  https://10.0.0.2:8088"),
            IsLineOf("CheckEnvCertForNewMgmtIP", 3, "Failed to verify cert for this new Zav mgmt IP:10.0.0.2")));
    EXPECT_EQ(UrlOf(SECOND), m_device.url);
    EXPECT_THAT(m_api, NotNull());
}

TEST_F(ZavStorageDiskLibFallbackTest, CertificateIsNotCheckedWhenNoAddressAccepts)
{
    RefuseLogin(SECOND, ArrayError(9, "busy"));
    EnvironmentPath env = Environment({FIRST, SECOND});
    env.add_certificates("PEM");
    EXPECT_EQ(9, m_keeper.TryToGetAValidMgmtIP(env, m_device, m_api, m_errorText));
    EXPECT_THAT(m_cert.Verifications(), IsEmpty());
}

/// A keeper with another way to log in.
class OtherKeeper : public ZavStorageDiskLib {
public:
    int GetLoginedZavRestApi(const Zav::DeviceInfo& info, boost::shared_ptr<ZavRestApi>& api,
                             std::string& errMsg) override
    {
        m_urls.push_back(info.url);
        if (m_code == 0) {
            api = boost::make_shared<ZavRestApi>("never logged in");
        }
        errMsg = "of the other login";
        return m_code;
    }

    void CheckEnvCertForNewMgmtIP(const EnvironmentPath&, const Zav::DeviceInfo& info) override
    {
        m_checkedUrls.push_back(info.url);
    }

    int m_code = 0;
    std::vector<std::string> m_urls;
    std::vector<std::string> m_checkedUrls;
};

TEST_F(ZavStorageDiskLibFallbackTest, LoginAndCertificateCheckAreReplaceable)
{
    OtherKeeper keeper;
    EXPECT_EQ(0, keeper.TryToGetAValidMgmtIP(Environment({FIRST, SECOND}), m_device, m_api, m_errorText));
    EXPECT_THAT(keeper.m_urls, ElementsAre(UrlOf(SECOND)));
    EXPECT_THAT(keeper.m_checkedUrls, ElementsAre(UrlOf(SECOND)));
    EXPECT_EQ("", m_errorText);
}

} // namespace

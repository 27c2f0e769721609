#include "common/framework/log_proxy.h"
#include "tests/unit/device/device_system_calls.h"
#include "tests/unit/keeper_test.h"

#include <boost/make_shared.hpp>
#include <boost/thread/exceptions.hpp>

#include <cerrno>

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::StartsWith;

namespace {

constexpr const char* LOGGED_IN = "Login zav device successfully! Device url is https://10.0.0.1:8088";

class ZavStorageDiskLibLoginTest : public KeeperTest {
protected:
    int LogIn(const std::string& address) { return m_keeper.GetLoginedZavRestApi(Device(address), m_api, m_errorText); }
};

TEST_F(ZavStorageDiskLibLoginTest, GetLoginedZavRestApiLogsInWithTheRecord)
{
    AcceptLogin(FIRST);
    Zav::DeviceInfo device = Device(FIRST);
    device.restApiArgument = "option";
    ASSERT_EQ(0, m_keeper.GetLoginedZavRestApi(device, m_api, m_errorText));

    ASSERT_THAT(m_http.Lines(), ElementsAre(LoginLine(FIRST)));
    const TMSHttpRequest request = m_http.Requests().front();
    EXPECT_EQ("option", request.optionText);
    EXPECT_THAT(request.body, HasSubstr(R"("username" : "admin")"));
    EXPECT_THAT(request.body, HasSubstr(R"("password" : "secret")"));
    ASSERT_THAT(m_api, NotNull());
    Zav::SessionInfo session;
    ASSERT_TRUE(m_api->GetSession(session));
    EXPECT_EQ("DEV1", session.deviceId);
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(KeeperLines(), ElementsAre(IsLineOf("GetLoginedZavRestApi", 1, LOGGED_IN)));
}

TEST_F(ZavStorageDiskLibLoginTest, GetLoginedZavRestApiMarksEntryAndExitUnderTheCallersRequestId)
{
    AcceptLogin(FIRST);
    TSP_RequestID.set(77);
    LogIn(FIRST);
    TSP_RequestID.set(0);
    std::vector<std::string> texts;
    for (const LogLine& line : m_log.Lines()) {
        if (line.module == "ZavStorageDiskLib") {
            EXPECT_EQ(77U, line.requestId);
            EXPECT_EQ(1, line.level);
            texts.push_back(line.text);
        }
    }
    EXPECT_THAT(texts, ElementsAre("Enter GetLoginedZavRestApi", LOGGED_IN, "End GetLoginedZavRestApi"));
}

TEST_F(ZavStorageDiskLibLoginTest, GetLoginedZavRestApiStartsTheCheckThreadForTheFirstLoginOnly)
{
    LogInAndRelease(FIRST);
    EXPECT_EQ(1, m_calls.Count("pthread_create"));
    m_calls.AwaitSleep();
    EXPECT_EQ(1001, m_calls.Waits().back()); // the first check is due in 1000 ms
    LogInAndRelease(SECOND);
    EXPECT_EQ(1, m_calls.Count("pthread_create"));
}

TEST_F(ZavStorageDiskLibLoginTest, SecondCallerOfAUrlGetsTheSameClientWithoutARequest)
{
    AcceptLogin(FIRST);
    ASSERT_EQ(0, LogIn(FIRST));
    m_http.Clear();
    Zav::DeviceInfo other = Device(FIRST);
    other.user = "another user"; // the URL alone is the key
    boost::shared_ptr<ZavRestApi> second;
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(other, second, m_errorText));
    EXPECT_EQ(m_api, second);
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_EQ(0, m_http.ClientsMade());
}

TEST_F(ZavStorageDiskLibLoginTest, CachedSessionIsHandedOutEvenWhenItIsLoggedOut)
{
    AcceptLogin(FIRST);
    ASSERT_EQ(0, LogIn(FIRST));
    m_http.On("DELETE", "/sessions", NoData());
    ASSERT_EQ(0, m_api->Logout(m_errorText));
    m_http.Clear();
    boost::shared_ptr<ZavRestApi> second;
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), second, m_errorText));
    EXPECT_EQ(m_api, second);
    EXPECT_THAT(m_http.Requests(), IsEmpty());
}

TEST_F(ZavStorageDiskLibLoginTest, OneArrayAtTwoAddressesHasTwoSessions)
{
    AcceptLogin(FIRST, "DEV1");
    AcceptLogin(SECOND, "DEV1");
    ASSERT_EQ(0, LogIn(FIRST));
    const boost::shared_ptr<ZavRestApi> first = m_api;
    ASSERT_EQ(0, LogIn(SECOND));
    EXPECT_NE(first, m_api);
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(FIRST), LoginLine(SECOND)));
}

TEST_F(ZavStorageDiskLibLoginTest, PortAndProtocolArePartOfTheKey)
{
    AcceptLogin(FIRST);
    ASSERT_EQ(0, LogIn(FIRST));
    Zav::DeviceInfo other = Device(FIRST);
    other.url = "http://10.0.0.1:8088";
    m_http.Next(ArrayError(5, "other"));
    EXPECT_EQ(5, m_keeper.GetLoginedZavRestApi(other, m_api, m_errorText));
}

// ---- failures

TEST_F(ZavStorageDiskLibLoginTest, GetLoginedZavRestApiKeepsWhateverTheHttpLibraryThrowsToItself)
{
    m_http.ServeBy([]() -> boost::shared_ptr<QEN::IHttpClient> { throw 42; });
    EXPECT_EQ(-1, LogIn(FIRST));
    EXPECT_THAT(m_api, IsNull());
    EXPECT_THAT(KeeperLines(), ElementsAre(IsLineOf("GetLoginedZavRestApi", 4,
                                                    "Create ZavRestApi objcet failed.an exception without a text")));
}

TEST_F(ZavStorageDiskLibLoginTest, GetLoginedZavRestApiWithoutAFirstCheckHasNoCheckThreadAndFails)
{
    AcceptLogin(FIRST);
    m_calls.OnSemaphore(&DeviceSystemCalls::RefuseNextLock); // the thread runs; the next to lock is who posts
    EXPECT_EQ(-1, LogIn(FIRST));
    EXPECT_THAT(m_api, IsNull());
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_EQ(3, m_calls.Count("close"));
    EXPECT_THAT(KeeperLines(), ElementsAre(IsLineOf("GetLoginedZavRestApi", 4, "Check  session thread new failed."),
                                           AllOf(Field("level", &LogLine::level, 4),
                                                 Field("text", &LogLine::text,
                                                       StartsWith("The first check could not be posted: boost: mutex "
                                                                  "lock failed in pthread_mutex_lock")))));

    EXPECT_EQ(0, LogIn(FIRST)); // by a thread that checks
    EXPECT_EQ(2, m_calls.Count("pthread_create"));
    LetTimePass(boost::chrono::milliseconds(1001));
    EXPECT_EQ(1, Checks());
}

TEST_F(ZavStorageDiskLibLoginTest, RefusedLoginGivesTheArraysCodeAndNoClientAndIsNotCached)
{
    RefuseLogin(FIRST, ArrayError(1090519061, "wrong password"));
    m_api = boost::make_shared<ZavRestApi>("of the caller");
    EXPECT_EQ(1090519061, LogIn(FIRST));
    EXPECT_THAT(m_api, IsNull());
    EXPECT_EQ("wrong password", m_errorText);
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("GetLoginedZavRestApi", 4, "Login zav device failed. Error code is 1090519061")));

    AcceptLogin(FIRST);
    EXPECT_EQ(0, LogIn(FIRST));
    EXPECT_THAT(m_http.Lines(), ElementsAre(LoginLine(FIRST), LoginLine(FIRST)));
}

TEST_F(ZavStorageDiskLibLoginTest, UnreachableArrayGivesTheTransportCode)
{
    RefuseLogin(FIRST, NetworkError("no route"));
    EXPECT_EQ(-20000, LogIn(FIRST));
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("GetLoginedZavRestApi", 4, "Login zav device failed. Error code is -20000")));
}

TEST_F(ZavStorageDiskLibLoginTest, CheckThreadThatCannotStartGivesMinusOneWithoutALogin)
{
    m_calls.Fail("pthread_create", EAGAIN);
    m_api = boost::make_shared<ZavRestApi>("of the caller");
    EXPECT_EQ(-1, LogIn(FIRST));
    EXPECT_THAT(m_api, IsNull());
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(KeeperLines(), ElementsAre(IsLineOf("GetLoginedZavRestApi", 4, "Check  session thread new failed.")));

    AcceptLogin(FIRST);
    EXPECT_EQ(0, LogIn(FIRST)); // the next caller tries again
}

TEST_F(ZavStorageDiskLibLoginTest, CheckThreadThatCannotStartGivesMinusOneEvenForACachedSession)
{
    LogInAndRelease(FIRST);
    m_keeper.StopCheckThread();
    m_calls.Fail("pthread_create", EAGAIN);
    EXPECT_EQ(-1, LogIn(FIRST));
    EXPECT_THAT(m_api, IsNull());
}

TEST_F(ZavStorageDiskLibLoginTest, ClientThatCannotBeCreatedGivesMinusOneAndTheErrorsText)
{
    m_http.ThrowOnCreate("no HTTP");
    m_api.reset();
    EXPECT_EQ(-1, LogIn(FIRST));
    EXPECT_THAT(m_api, IsNull());
    EXPECT_EQ("untouched", m_errorText);
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("GetLoginedZavRestApi", 4, "Create ZavRestApi objcet failed.no HTTP")));
    m_http.ThrowOnCreate("");
    AcceptLogin(FIRST);
    EXPECT_EQ(0, LogIn(FIRST)); // nothing was cached
}

TEST_F(ZavStorageDiskLibLoginTest, ClientThatCannotBeCreatedTakesTheCallersClientAway)
{
    m_api = boost::make_shared<ZavRestApi>("of the caller");
    m_http.ThrowOnCreate("no HTTP");
    EXPECT_EQ(-1, LogIn(FIRST));
    EXPECT_THAT(m_api, IsNull());
}

// ---- mutexes that cannot be made

class ZavStorageDiskLibMutexTest : public KeeperTest, public ::testing::WithParamInterface<const char*> {
protected:
    std::string ExpectedText() const
    {
        return std::string("boost:: recursive_mutex constructor failed in ") + GetParam() +
               ": Resource temporarily unavailable";
    }
};

TEST_P(ZavStorageDiskLibMutexTest, ClientWithoutItsMutexIsOneThatCannotBeCreated)
{
    LogInAndRelease(SECOND); // the check thread runs: the next mutex is the client's
    m_log.Clear();
    m_calls.Fail(GetParam(), EAGAIN);
    EXPECT_EQ(-1, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    EXPECT_THAT(m_api, IsNull());
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("GetLoginedZavRestApi", 4, "Create ZavRestApi objcet failed." + ExpectedText())));
}

TEST_P(ZavStorageDiskLibMutexTest, ClientsConstructorThrowsTheThreadLibrarysError)
{
    m_calls.Fail(GetParam(), EAGAIN);
    try {
        const ZavRestApi api("option");
        FAIL() << "made without a mutex";
    } catch (const boost::thread_resource_error& error) {
        EXPECT_EQ(ExpectedText(), error.what());
        EXPECT_EQ(EAGAIN, error.native_error());
    }
}

TEST_P(ZavStorageDiskLibMutexTest, KeepersConstructorThrowsTheThreadLibrarysError)
{
    m_calls.Fail(GetParam(), EAGAIN);
    try {
        const Keeper keeper;
        FAIL() << "made without a mutex";
    } catch (const boost::thread_resource_error& error) {
        EXPECT_EQ(ExpectedText(), error.what());
    }
}

INSTANTIATE_TEST_SUITE_P(Call, ZavStorageDiskLibMutexTest,
                         ::testing::Values("pthread_mutexattr_init", "pthread_mutexattr_settype", "pthread_mutex_init"),
                         [](const auto& row) { return std::string(row.param); });

} // namespace

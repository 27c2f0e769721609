#include "common/framework/log_proxy.h"
#include "tests/unit/keeper_test.h"

#include <boost/make_shared.hpp>
#include <boost/thread/latch.hpp>
#include <boost/weak_ptr.hpp>

#include <thread>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

using boost::chrono::milliseconds;
using boost::chrono::nanoseconds;
using boost::chrono::seconds;

constexpr const char* BEGIN = "start to check expired session.";

std::string Expired(const std::string& url)
{
    return "device " + url + " session expired!";
}

// ---- what one round does; the test runs it itself

class ZavStorageDiskLibDoCheckTest : public KeeperTest {
protected:
    void AcceptLogouts() { m_http.Always("DELETE", "/sessions", NoData()); }

    /// Lets sessions be idle, without the check thread that the logins started.
    void Idle(const nanoseconds& duration)
    {
        m_keeper.StopCheckThread();
        m_clock.Advance(duration);
    }

    void Check()
    {
        m_http.Clear();
        AcceptLogouts();
        m_log.Clear();
        m_keeper.DoCheck();
    }
};

TEST_F(ZavStorageDiskLibDoCheckTest, DoCheckWithoutSessionsOnlyTellsThatItBegins)
{
    m_keeper.DoCheck();
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("DoCheck", 0, BEGIN)));
    EXPECT_EQ("ZavStorageDiskLib", m_log.Lines().front().module);
}

TEST_F(ZavStorageDiskLibDoCheckTest, SessionIdleForLessThanFiveSecondsStays)
{
    LogInAndRelease(FIRST);
    Idle(nanoseconds(4999999999));
    Check();
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLineOf("DoCheck", 0, BEGIN)));
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText)); // without a login
}

TEST_F(ZavStorageDiskLibDoCheckTest, SessionIdleForFiveSecondsIsLoggedOutAndForgotten)
{
    LogInAndRelease(FIRST);
    Idle(seconds(5));
    Check();
    EXPECT_THAT(m_http.Lines(), ElementsAre(LogoutLine(FIRST, "DEV1")));
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLineOf("DoCheck", 0, BEGIN), IsLineOf("DoCheck", 1, Expired(UrlOf(FIRST)))));

    AcceptLogin(FIRST);
    EXPECT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    EXPECT_THAT(m_http.Lines(), Contains(LoginLine(FIRST)));
}

TEST_F(ZavStorageDiskLibDoCheckTest, ExpiryIsLoggedBeforeTheLogout)
{
    LogInAndRelease(FIRST);
    Idle(seconds(5));
    AcceptLogouts();
    m_http.Observe([this](const TMSHttpRequest&) {
        EXPECT_THAT(m_log.Lines(), Contains(IsLineOf("DoCheck", 1, Expired(UrlOf(FIRST)))));
    });
    m_keeper.DoCheck();
    EXPECT_THAT(m_http.Lines(), Contains(LogoutLine(FIRST, "DEV1")));
}

TEST_F(ZavStorageDiskLibDoCheckTest, SessionThatACallerHoldsStaysHoweverLongItIsIdle)
{
    AcceptLogin(FIRST);
    ASSERT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    Idle(boost::chrono::hours(24));
    Check();
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    m_api.reset();
    Check(); // idle long enough already
    EXPECT_THAT(m_http.Lines(), ElementsAre(LogoutLine(FIRST, "DEV1")));
}

TEST_F(ZavStorageDiskLibDoCheckTest, HandingASessionOutBeginsItsIdleTimeAnew)
{
    LogInAndRelease(FIRST);
    Idle(seconds(4));
    ASSERT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    m_api.reset();
    Idle(seconds(4));
    Check();
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    Idle(seconds(1));
    Check();
    EXPECT_THAT(m_http.Lines(), ElementsAre(LogoutLine(FIRST, "DEV1")));
}

TEST_F(ZavStorageDiskLibDoCheckTest, IdleTimeBeginsAfterTheLogin)
{
    m_http.Observe([this](const TMSHttpRequest&) { m_clock.Advance(seconds(30)); }); // a slow login
    LogInAndRelease(FIRST);
    Check();
    EXPECT_THAT(m_http.Requests(), IsEmpty());
}

TEST_F(ZavStorageDiskLibDoCheckTest, WalkGoesOnInTheOrderOfTheUrlsPastWhatStays)
{
    LogInAndRelease(THIRD, "DEV3");
    AcceptLogin(SECOND, "DEV2");
    ASSERT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(SECOND), m_api, m_errorText));
    LogInAndRelease(FIRST, "DEV1");
    Idle(seconds(5));
    Check();
    EXPECT_THAT(m_http.Lines(), ElementsAre(LogoutLine(FIRST, "DEV1"), LogoutLine(THIRD, "DEV3")));
    EXPECT_THAT(KeeperLines(),
                ElementsAre(IsLine(0, BEGIN), IsLine(1, Expired(UrlOf(FIRST))), IsLine(1, Expired(UrlOf(THIRD)))));
}

TEST_F(ZavStorageDiskLibDoCheckTest, ClockIsReadForEachSession)
{
    LogInAndRelease(FIRST, "DEV1");
    Idle(seconds(3));
    LogInAndRelease(SECOND, "DEV2");
    Idle(seconds(3)); // the first is idle for six seconds, the second for three
    AcceptLogouts();
    m_http.Clear();
    AcceptLogouts();
    m_http.Observe([this](const TMSHttpRequest&) { m_clock.Advance(seconds(2)); }); // a slow logout
    m_keeper.DoCheck();
    EXPECT_THAT(m_http.Lines(), ElementsAre(LogoutLine(FIRST, "DEV1"), LogoutLine(SECOND, "DEV2")));
}

TEST_F(ZavStorageDiskLibDoCheckTest, SessionWhoseLogoutFailsIsForgottenAllTheSame)
{
    LogInAndRelease(FIRST, "DEV1");
    LogInAndRelease(SECOND, "DEV2");
    Idle(seconds(5));
    m_http.On("DELETE", "/sessions", ArrayError(3, "not logged in"));
    m_http.On("DELETE", "/sessions", NetworkError("no route"));
    m_keeper.DoCheck();
    Check();
    EXPECT_THAT(m_http.Requests(), IsEmpty());
    EXPECT_THAT(KeeperLines(), ElementsAre(IsLine(0, BEGIN)));
}

TEST_F(ZavStorageDiskLibDoCheckTest, NothingIsLoggedInAgain)
{
    LogInAndRelease(FIRST);
    Idle(seconds(5));
    Check();
    Check();
    EXPECT_THAT(m_http.Requests(), IsEmpty());
}

TEST_F(ZavStorageDiskLibDoCheckTest, CallersWaitUntilTheRoundIsOver)
{
    LogInAndRelease(FIRST, "DEV1");
    LogInAndRelease(SECOND, "DEV2");
    Idle(seconds(5));
    m_http.Clear();
    m_log.Clear();
    AcceptLogouts();
    AcceptLogin(FIRST, "DEV1");
    std::thread caller;
    m_http.Observe([&](const TMSHttpRequest& request) {
        if (request.url == UrlOf(FIRST) + "/deviceManager/rest/DEV1/sessions") {
            caller = std::thread([this] { m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText); });
            m_log.Await("Enter GetLoginedZavRestApi");
        }
    });
    m_keeper.DoCheck();
    caller.join();
    EXPECT_THAT(m_http.Lines(), ElementsAre(LogoutLine(FIRST, "DEV1"), LogoutLine(SECOND, "DEV2"), LoginLine(FIRST)));
}

// ---- when it runs

class ZavStorageDiskLibCheckThreadTest : public KeeperTest {};

TEST_F(ZavStorageDiskLibCheckThreadTest, CheckRunsOnceASecond)
{
    LogInAndRelease(FIRST);
    LetTimePass(milliseconds(999));
    EXPECT_EQ(0, Checks());
    LetTimePass(milliseconds(2));
    EXPECT_EQ(1, Checks());
    LetTimePass(milliseconds(999));
    EXPECT_EQ(1, Checks());
    LetTimePass(milliseconds(2));
    EXPECT_EQ(2, Checks());
    LetTimePass(milliseconds(1001));
    EXPECT_EQ(3, Checks());
}

TEST_F(ZavStorageDiskLibCheckThreadTest, LinesOfTheCheckThreadCarryNoRequestId)
{
    TSP_RequestID.set(77);
    LogInAndRelease(FIRST);
    TSP_RequestID.set(0);
    m_log.Clear();
    LetTimePass(milliseconds(1001));
    ASSERT_THAT(m_log.Lines(), ElementsAre(IsLineOf("DoCheck", 0, BEGIN)));
    EXPECT_EQ(0U, m_log.Lines().front().requestId);
}

TEST_F(ZavStorageDiskLibCheckThreadTest, ReleasedSessionIsLoggedOutByTheFirstCheckAfterFiveSeconds)
{
    LogInAndRelease(FIRST);
    m_http.Always("DELETE", "/sessions", NoData());
    for (int second = 1; second <= 4; ++second) {
        LetTimePass(milliseconds(1001));
        EXPECT_THAT(m_http.Lines(), Not(Contains(LogoutLine(FIRST, "DEV1")))) << second;
    }
    LetTimePass(milliseconds(1001));
    EXPECT_THAT(m_http.Lines(), Contains(LogoutLine(FIRST, "DEV1")));
    EXPECT_EQ(5, Checks());
}

TEST_F(ZavStorageDiskLibCheckThreadTest, CheckOfACallerBeginsNoSecondSeries)
{
    LogInAndRelease(FIRST);
    m_keeper.DoCheck();
    EXPECT_EQ(1, Checks());
    LetTimePass(milliseconds(1001));
    EXPECT_EQ(2, Checks());
}

TEST_F(ZavStorageDiskLibCheckThreadTest, CheckOfACallerStartsNoThread)
{
    m_keeper.DoCheck();
    EXPECT_EQ(0, m_calls.Count("pthread_create"));
}

} // namespace

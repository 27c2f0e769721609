// One session shared by threads: what one of them takes from an answer, another sends whole.

#include "tests/unit/rest/rest_test.h"

#include <boost/thread/barrier.hpp>
#include <boost/thread/thread.hpp>

#include <functional>

using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

constexpr int ROUNDS = 50;

// Longer than a text's own small buffer, so that replacing one gives memory back.
const std::string FIRST_COOKIE = "session=" + std::string(40, 'a');
const std::string SECOND_COOKIE = "session=" + std::string(60, 'b');

class ZavRestApiThreadsTest : public LoggedInRestTest {
protected:
    // Each work is done ROUNDS times on a thread of its own, all beginning together.
    static void RunBeside(const std::vector<std::function<void()>>& works)
    {
        boost::barrier start(static_cast<unsigned int>(works.size()));
        boost::thread_group threads;
        for (const auto& work : works) {
            threads.create_thread([&start, &work] {
                start.wait();
                for (int round = 0; round < ROUNDS; ++round) {
                    work();
                }
            });
        }
        threads.join_all();
    }
};

TEST_F(ZavRestApiThreadsTest, RemovalsReplaceTheCookieBesideQueries)
{
    m_config.Set("DosRequestCount", 1000000);
    m_http.Always("PUT", "mappingview/REMOVE_ASSOCIATE", NoData().WithCookie(FIRST_COOKIE + "; Path=/"));
    m_http.Always("PUT", "iscsi_initiator/remove_iscsi_from_host", NoData().WithCookie(SECOND_COOKIE + "; Path=/"));
    m_http.Always("GET", "lun/count", Data(R"({"COUNT": "3"})"));
    const auto removeGroup = [this] {
        std::string errorText;
        EXPECT_EQ(0, m_api.RemoveHostGroup("3", "5", errorText));
    };
    const auto removeInitiator = [this] {
        std::string errorText;
        EXPECT_EQ(0, m_api.RemoveIscsiInitiator("iqn.node", errorText));
    };
    const auto count = [this] {
        std::string errorText;
        std::uint64_t luns = 0;
        EXPECT_EQ(0, m_api.GetLunCount(luns, errorText));
    };
    const auto lookAtSession = [this] {
        Zav::SessionInfo session;
        EXPECT_TRUE(m_api.GetSession(session));
        EXPECT_THAT(session.cookie, AnyOf("session=c1", FIRST_COOKIE, SECOND_COOKIE));
        EXPECT_EQ("TOK1", session.token);
    };
    RunBeside({removeGroup, removeInitiator, count, lookAtSession});

    EXPECT_THAT(m_http.Requests(), SizeIs(3 * ROUNDS));
    EXPECT_THAT(m_http.Requests(),
                Each(Field("headers", &TMSHttpRequest::headers,
                           ElementsAre(Pair("Cookie", AnyOf("session=c1", FIRST_COOKIE, SECOND_COOKIE)),
                                       Pair("iBaseToken", "TOK1")))));
}

TEST_F(ZavRestApiThreadsTest, OfTwoLogoutsOneAsksTheArray)
{
    m_http.Always("DELETE", "sessions", NoData());
    const auto logOut = [this] {
        std::string errorText;
        EXPECT_EQ(0, m_api.Logout(errorText));
    };
    RunBeside({logOut, logOut});
    EXPECT_THAT(m_http.Requests(), SizeIs(1));
}

} // namespace

#include "tests/unit/rest/rest_test.h"

#include <boost/make_shared.hpp>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

namespace {

class ZavRestApiLoginTest : public RestTest {};

TEST_F(ZavRestApiLoginTest, LoginSendsTheCredentialsAsTabIndentedJson)
{
    m_http.Next(LoginAnswer());
    EXPECT_EQ(0, m_api.Login(BASE_URL, "admin", "se\"cret", m_errorText));

    ASSERT_THAT(m_http.Lines(), ElementsAre("POST https://10.0.0.1:8088/deviceManager/rest//sessions"));
    const TMSHttpRequest request = m_http.Requests().front();
    EXPECT_EQ("{\n\t\"password\" : \"se\\\"cret\",\n\t\"scope\" : 0,\n\t\"username\" : \"admin\"\n}", request.body);
    EXPECT_EQ("option", request.optionText);
    EXPECT_THAT(request.headers, IsEmpty());
    EXPECT_THAT(m_http.Timeouts(), ElementsAre(90U));
    EXPECT_EQ("untouched", m_errorText);
}

TEST_F(ZavRestApiLoginTest, LoginKeepsDeviceTokenAndTheFirstPieceOfTheSmallestCookie)
{
    m_http.Next(
        Data(R"({"deviceid": "DEV1", "iBaseToken": "TOK1"})").WithCookie("b=2; Path=/").WithCookie("a=1; Secure"));
    ASSERT_EQ(0, m_api.Login(BASE_URL, "admin", "secret", m_errorText));

    Zav::SessionInfo session;
    ASSERT_TRUE(m_api.GetSession(session));
    EXPECT_EQ(BASE_URL, session.baseUrl);
    EXPECT_EQ("DEV1", session.deviceId);
    EXPECT_EQ("TOK1", session.token);
    EXPECT_EQ("a=1", session.cookie);
}

TEST_F(ZavRestApiLoginTest, LoginRefusedByTheArrayPassesItsCodeOnAndStaysLoggedOut)
{
    m_http.Next(ArrayError(77, "wrong password"));
    EXPECT_EQ(77, m_api.Login(BASE_URL, "admin", "secret", m_errorText));
    EXPECT_EQ("wrong password", m_errorText);
    EXPECT_THAT(m_log.Told(), Contains(IsLineOf("ParseRsp", 4, "code : 77, Describe : wrong password")));
    Zav::SessionInfo session;
    EXPECT_FALSE(m_api.GetSession(session));
}

} // namespace

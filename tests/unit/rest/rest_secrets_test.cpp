// No memory that the REST clients give back holds a password, a token, a cookie or a request's body.

#include "common/json_text.h"
#include "common/records.h"
#include "rest/nimb_rest_api.h"
#include "rest/zav_rest_api.h"
#include "tests/fakes/fakes.h"
#include "tests/unit/freed_memory.h"

#include <boost/make_shared.hpp>

#include <memory>
#include <vector>

using ::testing::Each;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// An answer whose texts live as long as the test: what is found in freed memory is none of its own.
struct LastingResponse : QEN::IHttpResponse {
    bool IsSuccess() const override { return isSuccess; }
    int GetHttpStatusCode() const override { return isSuccess ? 200 : 503; }
    const std::string& GetHttpStatusText() const override { return none; }
    int IsNetworkError() const override { return 0; }
    const std::string& GetErrorText() const override { return none; }
    const std::string& GetBody() const override { return body; }
    const std::set<std::string>& GetCookies() const override { return cookies; }

    bool isSuccess = true;
    std::string body;
    std::set<std::string> cookies;
    std::string none;
};

/// Gives its answers in order, and lets the memory of each body that passes be followed.
class LastingClient : public QEN::IHttpClient {
public:
    void Answers(const std::string& body, const std::set<std::string>& cookies = {})
    {
        const auto response = boost::make_shared<LastingResponse>();
        response->body = body;
        response->cookies = cookies;
        m_responses.push_back(response);
    }

    void Fails()
    {
        const auto response = boost::make_shared<LastingResponse>();
        response->isSuccess = false;
        m_responses.push_back(response);
    }

    void Watch(FreedMemory* memory) { m_memory = memory; }

    boost::shared_ptr<QEN::IHttpResponse> SendRequest(const TMSHttpRequest& request, unsigned int) override
    {
        if (m_memory != nullptr && request.method == "POST") {
            m_memory->Follow(request.body);
        }
        if (m_next == m_responses.size()) {
            ADD_FAILURE() << "no answer for " << request.method << " " << request.url;
            return nullptr;
        }
        return m_responses[m_next++];
    }

    bool TestConnection(const std::string&, int) override { return false; }

private:
    std::vector<boost::shared_ptr<LastingResponse>> m_responses;
    std::size_t m_next = 0;
    FreedMemory* m_memory = nullptr;
};

/// Secrets of one size: those that a text holds within itself, and those for which it needs a buffer.
struct Secrets {
    std::string name;
    std::string password; ///< of which `core` is a part that no quoting changes
    std::string core;
    std::string token;
    std::string cookie;
};

void PrintTo(const Secrets& secrets, std::ostream* out)
{
    *out << secrets.name;
}

class RestSecretsTest : public FakesTest, public ::testing::WithParamInterface<Secrets> {
protected:
    RestSecretsTest() { m_http.Serve(m_client); }

    /// Runs `story` and checks that of the secrets only those tokens are found in what it freed that the JSON parser
    /// itself leaves behind, `parses` times.
    template <typename Story>
    void ExpectNothingLeft(int parses, const Story& story)
    {
        FreedMemory memory({m_secrets.core, m_secrets.token, m_secrets.cookie});
        m_client->Watch(&memory);
        memory.During(story);
        m_client->Watch(nullptr);
        m_wasBodyWiped = memory.WasFreedWiped();
        EXPECT_EQ(0, memory.Holding(m_secrets.core));
        EXPECT_EQ(0, memory.Holding(m_secrets.cookie));
        EXPECT_EQ(parses * m_parserLeavings, memory.Holding(m_secrets.token));
    }

    /// In how many freed blocks the JSON parser alone leaves the token of `body`.
    int ParserLeavings(const std::string& body) const
    {
        Json::Value root;
        FreedMemory memory({m_secrets.token});
        memory.During([&body, &root] { EXPECT_TRUE(JsonText::Parse(body, root)); });
        return memory.Holding(m_secrets.token);
    }

    void ExpectNothingLogged()
    {
        for (const std::string& secret : {m_secrets.core, m_secrets.token, m_secrets.cookie}) {
            EXPECT_THAT(m_log.Lines(), Each(Field(&LogLine::text, Not(HasSubstr(secret)))));
        }
    }

    const Secrets& m_secrets = GetParam();
    const std::string m_user = "admin";
    boost::shared_ptr<LastingClient> m_client = boost::make_shared<LastingClient>();
    std::string m_errorText;
    int m_parserLeavings = 0;
    bool m_wasBodyWiped = false;
};

std::string CaseName(const ::testing::TestParamInfo<Secrets>& row)
{
    return row.param.name;
}

const auto SIZES = ::testing::Values(
    Secrets{"Short", "PW-1234", "PW-1234", "TK-1234", "ck=1234"},
    Secrets{"Long", "PW-" + std::string(40, 'p'), "PW-" + std::string(40, 'p'), "TK-" + std::string(40, 't'),
            "ck=" + std::string(40, 'c')},
    Secrets{"Quoted", "\"\\\xc3\xa4PW-" + std::string(400, 'p') + std::string(50, '\n'), "PW-" + std::string(400, 'p'),
            "TK-" + std::string(400, 't'), "ck=" + std::string(400, 'c')});

// ---- the array's client

class ZavRestApiSecretsTest : public RestSecretsTest {
protected:
    ZavRestApiSecretsTest()
    {
        m_parserLeavings = ParserLeavings(m_loginAnswer);
        m_api = std::make_unique<ZavRestApi>("");
    }

    int Login() { return m_api->Login(m_baseUrl, m_user, m_secrets.password, m_errorText); }

    const std::string m_baseUrl = "https://10.0.0.1:8088";
    const std::string m_loginAnswer = R"({"data": {"deviceid": "DEV1", "iBaseToken": ")" + m_secrets.token +
                                      R"("}, "error": {"code": 0, "description": "0"}})";
    const std::string m_noData = R"({"error": {"code": 0, "description": "0"}})";
    const std::string m_refusal = R"({"error": {"code": 5, "description": "no"}})";
    const std::set<std::string> m_cookies = {m_secrets.cookie + "; Path=/; Secure"};
    std::unique_ptr<ZavRestApi> m_api;
};

TEST_P(ZavRestApiSecretsTest, ASessionLeavesNothing)
{
    m_client->Answers(m_loginAnswer, m_cookies);
    m_client->Answers(m_noData);
    m_client->Answers(m_noData);
    ExpectNothingLeft(1, [this] {
        EXPECT_EQ(0, Login());
        EXPECT_EQ(-1, m_api->CheckMapView("7", "view", m_errorText));
        EXPECT_EQ(0, m_api->Logout(m_errorText));
        m_api.reset();
    });
    EXPECT_TRUE(m_wasBodyWiped);
    ExpectNothingLogged();
}

TEST_P(ZavRestApiSecretsTest, ALoginAgainLeavesNothingOfTheSessionBefore)
{
    m_client->Answers(m_loginAnswer, m_cookies);
    ASSERT_EQ(0, Login());
    m_client->Answers(R"({"data": {"deviceid": "D", "iBaseToken": "other token, which is longer than it need be"},
                          "error": {"code": 0, "description": "0"}})",
                      {"other cookie, which is longer than it need be"});
    ExpectNothingLeft(0, [this] { EXPECT_EQ(0, Login()); });
    EXPECT_TRUE(m_wasBodyWiped);
}

TEST_P(ZavRestApiSecretsTest, ALoginThatIsRefusedLeavesNothing)
{
    m_client->Answers(m_refusal, m_cookies);
    ExpectNothingLeft(0, [this] { EXPECT_EQ(5, Login()); });
    EXPECT_TRUE(m_wasBodyWiped);
    ExpectNothingLogged();
}

TEST_P(ZavRestApiSecretsTest, ALoginThatIsNotAnsweredLeavesNothing)
{
    m_client->Fails();
    ExpectNothingLeft(0, [this] { EXPECT_EQ(-1, Login()); });
    EXPECT_TRUE(m_wasBodyWiped);
}

TEST_P(ZavRestApiSecretsTest, AMalformedLoginAnswerLeavesNothing)
{
    m_client->Answers(R"({"data": {"deviceid": "D", "iBaseToken": ")" + m_secrets.token + R"("}})", m_cookies);
    m_client->Answers(R"({"data": {"iBaseToken": ")" + m_secrets.token +
                          R"("}, "error": {"code": 0, "description": ""}})",
                      m_cookies);
    ExpectNothingLeft(2, [this] {
        EXPECT_EQ(-1, Login());
        EXPECT_EQ(-1, Login());
        m_api.reset();
    });
}

TEST_P(ZavRestApiSecretsTest, ARemovalsNewCookieLeavesNothingOfTheOldOne)
{
    m_client->Answers(m_loginAnswer, m_cookies);
    ASSERT_EQ(0, Login());
    m_client->Answers(m_noData, {"another cookie, which is longer than it need be"});
    m_client->Answers(m_noData, m_cookies);
    ExpectNothingLeft(0, [this] {
        EXPECT_EQ(0, m_api->RemoveHostGroup("3", "5", m_errorText));
        EXPECT_EQ(0, m_api->RemoveLunGroup("3", "5", m_errorText));
        m_api.reset();
    });
}

TEST_P(ZavRestApiSecretsTest, ASessionHandedOutLeavesNothingOfTheRecordBefore)
{
    m_client->Answers(m_loginAnswer, m_cookies);
    m_client->Answers(R"({"data": {"deviceid": "D", "iBaseToken": "other token, which is longer than it need be"},
                          "error": {"code": 0, "description": "0"}})",
                      {"other cookie, which is longer than it need be"});
    ASSERT_EQ(0, Login());
    const auto session = std::make_unique<Zav::SessionInfo>();
    ASSERT_TRUE(m_api->GetSession(*session));
    EXPECT_EQ(m_secrets.token, session->token);
    EXPECT_EQ(m_secrets.cookie, session->cookie);
    ASSERT_EQ(0, Login());
    ExpectNothingLeft(0, [this, &session] { EXPECT_TRUE(m_api->GetSession(*session)); });
}

TEST_P(ZavRestApiSecretsTest, ARequestBuiltTwiceLeavesNoSecondHeader)
{
    m_client->Answers(m_loginAnswer, m_cookies);
    ASSERT_EQ(0, Login());
    TMSHttpRequest request;
    ExpectNothingLeft(0, [this, &request] {
        m_api->BuildBaseRequest(request, "lun");
        m_api->BuildBaseRequest(request, "lun");
    });
}

INSTANTIATE_TEST_SUITE_P(Sizes, ZavRestApiSecretsTest, SIZES, CaseName);

// ---- the distributed storage's client

class NimbRestApiSecretsTest : public RestSecretsTest {
protected:
    NimbRestApiSecretsTest()
    {
        m_parserLeavings = ParserLeavings(m_loginAnswer);
        m_api = std::make_unique<NimbRestApi>();
        m_api->Init();
    }

    ~NimbRestApiSecretsTest() override
    {
        if (m_api != nullptr) {
            m_client->Answers(m_granted);
            m_api.reset();
        }
    }

    int Login() { return m_api->Login(m_ip, m_port, m_user, m_secrets.password, m_errorText); }

    const std::string m_ip = "10.0.0.9";
    const std::string m_port = "28443";
    const std::string m_loginAnswer =
        R"({"data": {"x_auth_token": ")" + m_secrets.token + R"("}, "result": {"code": 0, "description": "0"}})";
    const std::string m_granted = R"({"result": {"code": 0, "description": "0"}})";
    std::unique_ptr<NimbRestApi> m_api;
};

TEST_P(NimbRestApiSecretsTest, ASessionLeavesNothing)
{
    m_client->Answers(m_loginAnswer);
    m_client->Answers(R"({"result": 0, "version": "8"})");
    m_client->Answers(m_granted);
    m_client->Answers(m_granted);
    ExpectNothingLeft(1, [this] {
        EXPECT_EQ(1, Login());
        std::string version;
        EXPECT_EQ(0, m_api->GetStorageVersion(version, m_errorText));
        m_api->Logout();
        m_api.reset();
    });
    EXPECT_TRUE(m_wasBodyWiped);
    ExpectNothingLogged();
}

TEST_P(NimbRestApiSecretsTest, ALoginAgainLeavesNothingOfTheSessionBefore)
{
    m_client->Answers(m_loginAnswer);
    ASSERT_EQ(1, Login());
    m_client->Answers(R"({"data": {"x_auth_token": "other token, which is longer than it need be"},
                          "result": {"code": 0, "description": "0"}})");
    const std::string other(600, 'o');
    ExpectNothingLeft(0, [this, &other] { EXPECT_EQ(1, m_api->Login(m_ip, m_port, m_user, other, m_errorText)); });
    EXPECT_TRUE(m_wasBodyWiped);
}

TEST_P(NimbRestApiSecretsTest, ALoginThatIsRefusedOrNotAnsweredLeavesNothing)
{
    m_client->Answers(R"({"data": {"x_auth_token": ")" + m_secrets.token +
                      R"("}, "result": {"code": 5, "description": "no"}})");
    for (int attempt = 0; attempt < 4; ++attempt) {
        m_client->Fails();
    }
    m_client->Answers(m_granted);
    ExpectNothingLeft(1, [this] {
        EXPECT_EQ(0, Login());
        EXPECT_TRUE(m_errorText == "no");
        EXPECT_EQ(0, Login());
        m_api.reset();
    });
    EXPECT_TRUE(m_wasBodyWiped);
    ExpectNothingLogged();
}

TEST_P(NimbRestApiSecretsTest, AMalformedLoginAnswerLeavesNothing)
{
    m_client->Answers(R"({"data": {"x_auth_token": [")" + m_secrets.token +
                      R"("]}, "result": {"code": 0, "description": "0"}})");
    m_client->Answers(R"({"data": {"x_auth_token": ")" + m_secrets.token + R"("}, "result": 0})");
    ExpectNothingLeft(2, [this] {
        EXPECT_EQ(0, Login());
        EXPECT_EQ(1, Login()); // with an empty token: the answer's verdict is malformed
    });
}

TEST_P(NimbRestApiSecretsTest, ARenewedSessionLeavesNothing)
{
    m_client->Answers(m_loginAnswer);
    ASSERT_EQ(1, Login());
    m_client->Fails();
    m_client->Answers(m_granted);
    m_client->Answers(m_loginAnswer);
    m_client->Answers(R"({"result": 0})");
    TMSHttpRequest request;
    Json::Value data;
    int errorCode = -401;
    ExpectNothingLeft(1, [this, &request, &data, &errorCode] {
        EXPECT_EQ(0, m_api->SendRequest(request, data, m_errorText, errorCode));
    });
    EXPECT_TRUE(m_wasBodyWiped);
}

INSTANTIATE_TEST_SUITE_P(Sizes, NimbRestApiSecretsTest, SIZES, CaseName);

} // namespace

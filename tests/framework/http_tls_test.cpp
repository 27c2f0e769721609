#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/http_exchange.h"
#include "tests/framework/support/probe.h"
#include "tests/framework/support/web_server.h"

#include <openssl/ssl.h>

#include <filesystem>
#include <string>
#include <thread>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class HttpTlsTest : public FrameworkTest {
protected:
    HttpTlsTest()
    {
        WriteText(InRoot("ca.pem"), m_ca.Own().Pem());
        Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    }

    const TestCa m_ca;
};

TEST_F(HttpTlsTest, TrustedServerIsReachedAndItsConnectionKept)
{
    WebServer server(m_ca.Issue());
    server.Answer("GET", "/a", "body");
    const auto client = QEN::IHttpClient::CreateClient();
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ("body", client->SendRequest(Request("GET", server.Url("/a")), 20)->GetBody());
    }
    EXPECT_EQ(1U, server.ConnectionCount());
}

TEST_F(HttpTlsTest, ServerIsVerifiedByNameAsWell)
{
    CertificateWish wish;
    wish.altNames = "DNS:localhost";
    WebServer server(m_ca.Issue(wish));
    server.Answer("GET", "/a", "body");
    EXPECT_EQ("body", Get("https://localhost:" + std::to_string(server.Port()) + "/a")->GetBody());
}

TEST_F(HttpTlsTest, ServerOnIpv6IsVerifiedByItsAddress)
{
    CertificateWish wish;
    wish.altNames = "IP:::1";
    WebServer server(m_ca.Issue(wish), "::1");
    server.Answer("GET", "/a", "body");
    EXPECT_EQ("body", Get(server.Url("/a"))->GetBody());
}

TEST_F(HttpTlsTest, ExpiredCertificateIsRefusedByName)
{
    CertificateWish wish;
    wish.validFromSeconds = -7200;
    wish.validToSeconds = -3600;
    const WebServer server(m_ca.Issue(wish));
    const auto response = Get(server.Url("/a?token=secret"));
    EXPECT_EQ(60, response->IsNetworkError());
    EXPECT_THAT(response->GetErrorText(), AllOf(StartsWith("GET " + server.Url("/a") + " failed: "),
                                                HasSubstr("certificate verification: certificate has expired")));
}

TEST_F(HttpTlsTest, CertificateOfTheFutureIsRefused)
{
    CertificateWish wish;
    wish.validFromSeconds = 3600;
    wish.validToSeconds = 7200;
    const WebServer server(m_ca.Issue(wish));
    EXPECT_THAT(Get(server.Url("/"))->GetErrorText(), HasSubstr("certificate is not yet valid"));
}

TEST_F(HttpTlsTest, CertificateOfAForeignAuthorityIsRefused)
{
    const WebServer server(TestCa("Foreign CA").Issue());
    EXPECT_THAT(Get(server.Url("/"))->GetErrorText(), HasSubstr("unable to get local issuer certificate"));
}

TEST_F(HttpTlsTest, CertificateForAnotherAddressIsRefused)
{
    CertificateWish wish;
    wish.altNames = "IP:127.0.0.2,DNS:localhost";
    const WebServer server(m_ca.Issue(wish));
    const auto response = Get(server.Url("/"));
    EXPECT_EQ(60, response->IsNetworkError());
    EXPECT_THAT(response->GetErrorText(), HasSubstr("127.0.0.1"));
}

TEST_F(HttpTlsTest, SystemsAuthoritiesAreNotTrustedBesideTheConfiguredOnes)
{
    // The authority is where the system keeps its own, but not in the file.
    WriteText(InRoot("other.pem"), TestCa("Other CA").Own().Pem());
    Configure({{"Http", {{"CaFile", "other.pem"}}}});
    ::setenv("SSL_CERT_FILE", InRoot("ca.pem").c_str(), 1);
    const WebServer server(m_ca.Issue());
    EXPECT_EQ(60, Get(server.Url("/"))->IsNetworkError());
    ::unsetenv("SSL_CERT_FILE");
}

TEST_F(HttpTlsTest, UnverifiedServerIsReachedWhenTheConfigurationSaysSo)
{
    WebServer server(TestCa("Foreign CA").Issue());
    server.Answer("GET", "/a", "body");
    EXPECT_FALSE(Get(server.Url("/a"))->IsSuccess());
    Configure({{"Http", {{"VerifyPeer", "false"}}}});
    EXPECT_EQ("body", Get(server.Url("/a"))->GetBody());
}

TEST_F(HttpTlsTest, UnverifiedConnectionIsNotUsedOnceVerificationIsAskedFor)
{
    Configure({{"Http", {{"VerifyPeer", "false"}}}});
    WebServer server(TestCa("Foreign CA").Issue());
    server.Answer("GET", "/a", "body");
    const auto client = QEN::IHttpClient::CreateClient();
    EXPECT_TRUE(client->SendRequest(Request("GET", server.Url("/a")), 20)->IsSuccess());
    Configure({{"Http", {{"VerifyPeer", "true"}, {"CaFile", "ca.pem"}}}});
    EXPECT_EQ(60, client->SendRequest(Request("GET", server.Url("/a")), 20)->IsNetworkError());
}

TEST_F(HttpTlsTest, ChangedAuthorityFileIsUsedByTheNextConnection)
{
    const TestCa newCa("New CA");
    WebServer oldServer(m_ca.Issue());
    oldServer.Answer("GET", "/a", "old");
    WebServer newServer(newCa.Issue());
    newServer.Answer("GET", "/a", "new");
    const auto client = QEN::IHttpClient::CreateClient();
    EXPECT_TRUE(client->SendRequest(Request("GET", oldServer.Url("/a")), 20)->IsSuccess());
    EXPECT_FALSE(client->SendRequest(Request("GET", newServer.Url("/a")), 20)->IsSuccess());

    WriteText(InRoot("ca.pem"), newCa.Own().Pem());
    EXPECT_TRUE(client->SendRequest(Request("GET", newServer.Url("/a")), 20)->IsSuccess());
}

TEST_F(HttpTlsTest, MissingAuthorityFileIsAnErrorAndNothingElseIsTrusted)
{
    std::filesystem::remove(InRoot("ca.pem"));
    const WebServer server(m_ca.Issue());
    const auto response = Get(server.Url("/"));
    EXPECT_NE(0, response->IsNetworkError());
    EXPECT_THAT(response->GetErrorText(), HasSubstr(InRoot("ca.pem")));
}

TEST_F(HttpTlsTest, ClientOfAStaticObjectIsDestroyedAtTheProcessesEnd)
{
    WebServer server(m_ca.Issue());
    server.Answer("GET", "/a", "body");
    const Base::ProgramResult result = RunToEnd({ProbePath(), "client-at-exit", server.Url("/a")});
    EXPECT_EQ("200\n", result.output);
    EXPECT_EQ(0, result.status) << result.errors;
}

TEST_F(HttpTlsTest, OldTlsIsRefused)
{
    // The server's own library must be talked into it.
    Base::TlsContextHandle context = ServerContext(m_ca.Issue());
    SSL_CTX_set_security_level(context.get(), 0);
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    SSL_CTX_set_max_proto_version(context.get(), TLS1_1_VERSION);
    const HttpServer server(
        "127.0.0.1", [](const ServedRequest&, HttpReply&) {}, std::move(context));
    const auto response = Get("https://127.0.0.1:" + std::to_string(server.Port()) + "/");
    EXPECT_EQ(35, response->IsNetworkError()) << response->GetErrorText();
}

TEST_F(HttpTlsTest, NameInTheSubjectAloneDoesNotCount)
{
    CertificateWish wish;
    wish.subject = "localhost";
    wish.altNames = "";
    WebServer server(m_ca.Issue(wish));
    server.Answer("GET", "/a", "body");
    const auto response = Get("https://localhost:" + std::to_string(server.Port()) + "/a");
    EXPECT_EQ(60, response->IsNetworkError());
    EXPECT_THAT(response->GetErrorText(), HasSubstr("hostname mismatch"));
}

TEST_F(HttpTlsTest, CipherWithoutForwardSecrecyIsRefused)
{
    for (const char* const cipher : {"AES128-GCM-SHA256", "ECDHE-RSA-AES128-GCM-SHA256"}) {
        CertificateWish wish;
        wish.hasRsaKey = true;
        Base::TlsContextHandle context = ServerContext(m_ca.Issue(wish));
        SSL_CTX_set_max_proto_version(context.get(), TLS1_2_VERSION);
        ASSERT_EQ(1, SSL_CTX_set_cipher_list(context.get(), cipher));
        const HttpServer server(
            "127.0.0.1", [](const ServedRequest&, HttpReply& reply) { reply.body = "body"; }, std::move(context));
        const auto response = Get("https://127.0.0.1:" + std::to_string(server.Port()) + "/");
        EXPECT_EQ(std::string(cipher).front() == 'E', response->IsSuccess()) << cipher << response->GetErrorText();
    }
}

TEST_F(HttpTlsTest, KeysAreNotLoggedWhateverTheEnvironmentAsksFor)
{
    WebServer server(m_ca.Issue());
    server.Answer("GET", "/a", "body");
    const Base::ProgramResult result =
        RunToEnd({ProbePath(), "client-at-exit", server.Url("/a")}, {"SSLKEYLOGFILE=" + InRoot("keys")});
    EXPECT_EQ("200\n", result.output) << result.errors;
    EXPECT_EQ("", ReadText(InRoot("keys")));
}

TEST_F(HttpTlsTest, HttpsToAServerThatSpeaksHttpIsANetworkError)
{
    const WebServer server;
    EXPECT_EQ(35, Get("https://127.0.0.1:" + std::to_string(server.Port()) + "/")->IsNetworkError());
}

} // namespace

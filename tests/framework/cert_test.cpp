#include "tests/framework/support/cert_test.h"
#include "tests/framework/support/http_exchange.h"
#include "tests/framework/support/raw_server.h"

#include <openssl/x509.h>
#include <sys/socket.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>

namespace {

using google::protobuf::util::MessageDifferencer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

TEST_F(CertTest, TrustedCertificateIsTakenIntoTheEnvironment)
{
    const Identity identity = m_ca.Issue();
    const WebServer server(identity);
    const EnvironmentPath env = Environment(server);
    EXPECT_TRUE(Verify(env));

    EnvironmentPath expected = env;
    expected.clear_certificates();
    expected.add_certificates(identity.Pem());
    EXPECT_TRUE(MessageDifferencer::Equals(expected, m_result)) << m_result.DebugString();
    EXPECT_FALSE(std::filesystem::exists(AlertPath()));
    EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(CertTest, InfoDescribesTheCertificate)
{
    CertificateWish wish;
    wish.subject = "Größe, 1";
    const Identity identity = m_ca.Issue(wish);
    const WebServer server(identity);
    EXPECT_TRUE(Verify(Environment(server)));

    EXPECT_EQ("CN=Größe\\, 1", m_info.subject());
    EXPECT_EQ("CN=Test CA", m_info.issuer());
    EXPECT_THAT(m_info.serial_number(), MatchesRegex("1234A[0-9A-F]+"));
    EXPECT_THAT(m_info.not_before(), MatchesRegex("20[0-9][0-9]-[0-9][0-9]-[0-9][0-9]T[0-9:]+Z"));
    EXPECT_LT(m_info.not_before(), m_info.not_after());
    EXPECT_THAT(m_info.sha256_fingerprint(), MatchesRegex("[0-9a-f]+"));
    EXPECT_THAT(m_info.sha256_fingerprint(), SizeIs(64));
    EXPECT_EQ(identity.Pem(), m_info.pem());
}

TEST_F(CertTest, ExpiredCertificateIsRefusedAndDescribed)
{
    CertificateWish wish;
    wish.validFromSeconds = -7200;
    wish.validToSeconds = -3600;
    const WebServer server(m_ca.Issue(wish));
    EXPECT_EQ("The certificate of 127.0.0.1:" + std::to_string(server.Port()) +
                  " is not trusted: certificate has expired; it is that of CN=test server",
              Refusal(Environment(server)));
    EXPECT_EQ("CN=test server", m_info.subject());
    EXPECT_THAT(Alerts(), ElementsAre(Alert{"127.0.0.1", "certificate has expired"}));

    const LogLine line = LogLines().back();
    EXPECT_EQ("Component", line.module);
    EXPECT_EQ("42", line.requestId);
    EXPECT_EQ("VerifyCertForEnv", line.function);
}

TEST_F(CertTest, CertificateOfAForeignAuthorityIsRefused)
{
    const WebServer server(TestCa("Foreign CA").Issue());
    EXPECT_THAT(Refusal(Environment(server)), HasSubstr("unable to get local issuer certificate"));
}

TEST_F(CertTest, NameInTheSubjectAloneDoesNotCount)
{
    CertificateWish wish;
    wish.subject = "localhost";
    wish.altNames = "";
    const WebServer server(m_ca.Issue(wish));
    EXPECT_THAT(Refusal(Environment(server, "localhost")), HasSubstr("hostname mismatch"));
}

TEST_F(CertTest, CertificateThatSignedItselfIsRefused)
{
    const TestCa self("self");
    const WebServer server(self.Own());
    EXPECT_THAT(Refusal(Environment(server)), HasSubstr("self-signed certificate"));
}

TEST_F(CertTest, CertificateForAnotherAddressIsRefused)
{
    CertificateWish wish;
    wish.altNames = "IP:127.0.0.2,DNS:127.0.0.1";
    const WebServer server(m_ca.Issue(wish));
    EXPECT_THAT(Refusal(Environment(server)), HasSubstr("IP address mismatch"));
}

TEST_F(CertTest, NameIsVerifiedWhereTheEnvironmentHasAName)
{
    CertificateWish wish;
    wish.altNames = "DNS:localhost";
    const WebServer server(m_ca.Issue(wish));
    EXPECT_TRUE(Verify(Environment(server, "localhost")));

    wish.altNames = "DNS:elsewhere";
    const WebServer other(m_ca.Issue(wish));
    EXPECT_THAT(Refusal(Environment(other, "localhost")), HasSubstr("hostname mismatch"));
}

TEST_F(CertTest, Ipv6AddressIsVerifiedWithAndWithoutBrackets)
{
    CertificateWish wish;
    wish.altNames = "IP:::1";
    const WebServer server(m_ca.Issue(wish), "::1");
    EXPECT_TRUE(Verify(Environment(server, "::1")));
    EXPECT_TRUE(Verify(Environment(server, "[::1]")));
}

TEST_F(CertTest, TrustStoreMayBeADirectoryOfCertificatesByHash)
{
    std::ostringstream hash;
    hash << std::hex
         << X509_NAME_hash_ex(X509_get_subject_name(m_ca.Own().certificate.get()), nullptr, nullptr, nullptr);
    WriteText(InRoot("store/" + std::string(8 - hash.str().size(), '0') + hash.str() + ".0"), m_ca.Own().Pem());
    Configure({{"Cert", {{"TrustStore", "store"}}}});
    const WebServer server(m_ca.Issue());
    EXPECT_TRUE(Verify(Environment(server)));
    const WebServer foreign(TestCa("Foreign CA").Issue());
    EXPECT_FALSE(Verify(Environment(foreign)));
}

TEST_F(CertTest, HttpAuthoritiesAreTrustedWhereThereIsNoTrustStore)
{
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    const WebServer server(m_ca.Issue());
    EXPECT_TRUE(Verify(Environment(server)));
    Configure({});
    EXPECT_FALSE(Verify(Environment(server))); // the system's
}

TEST_F(CertTest, CertificatesBelowTheRootAreTrustedAsByTheHttpClient)
{
    const TestCa intermediate("Intermediate CA", m_ca);
    const Identity identity = intermediate.Issue();
    WebServer server(identity);
    server.Answer("GET", "/a", "body");
    Configure({{"Http", {{"CaFile", "part.pem"}}}});
    for (const Identity& trusted : {identity, intermediate.Own()}) {
        WriteText(InRoot("part.pem"), trusted.Pem());
        EXPECT_EQ("body", Get(server.Url("/a"))->GetBody());
        EXPECT_TRUE(Verify(Environment(server))) << LogTexts("3").back();
    }

    WriteText(InRoot("part.pem"), identity.Pem());
    const WebServer sibling(intermediate.Issue());
    EXPECT_THAT(Refusal(Environment(sibling)), HasSubstr("unable to get local issuer certificate"));
}

TEST_F(CertTest, TrustStoreThatCannotBeReadIsARefusal)
{
    Configure({{"Cert", {{"TrustStore", "no.pem"}}}});
    const WebServer server(m_ca.Issue());
    EXPECT_THAT(Refusal(Environment(server)),
                HasSubstr("the trust store " + InRoot("no.pem") + " cannot be read: No such file or directory"));
    WriteText(InRoot("no.pem"), "no certificate");
    EXPECT_THAT(Refusal(Environment(server)), HasSubstr("the trust store " + InRoot("no.pem") + " cannot be read: "));
}

TEST_F(CertTest, VerificationDoesNotDependOnTheHttpClients)
{
    Configure({{"Http", {{"VerifyPeer", "false"}}}, {"Cert", {{"TrustStore", "ca.pem"}}}});
    const WebServer server(TestCa("Foreign CA").Issue());
    EXPECT_FALSE(Verify(Environment(server)));
}

TEST_F(CertTest, UnreachableServerIsARefusalWithAnAlert)
{
    EnvironmentPath env;
    {
        const WebServer server(m_ca.Issue());
        env = Environment(server);
    }
    EXPECT_THAT(Refusal(env), HasSubstr("no connection: Failed to connect to 127.0.0.1"));
    EXPECT_EQ("", m_info.subject());
    EXPECT_THAT(Alerts(), ElementsAre(testing::Field(&Alert::address, "127.0.0.1")));
}

TEST_F(CertTest, ServerThatSpeaksNoTlsIsARefusal)
{
    const WebServer server; // plain http
    EXPECT_THAT(Refusal(Environment(server)), HasSubstr("is not trusted: no TLS connection: "));
}

TEST_F(CertTest, ServerThatHangsUpIsARefusal)
{
    const RawServer server([](int /*socket*/) {});
    EnvironmentPath env;
    env.add_management_ips("127.0.0.1");
    env.add_ports(static_cast<std::uint64_t>(server.Port()));
    EXPECT_THAT(Refusal(env), HasSubstr("no TLS connection: "));
}

TEST_F(CertTest, ServerThatIsSilentIsGivenUpInTime)
{
    const RawServer server([](int socket) {
        char byte = 0;
        while (::recv(socket, &byte, 1, 0) > 0) {
        }
    });
    EnvironmentPath env;
    env.add_management_ips("127.0.0.1");
    env.add_ports(static_cast<std::uint64_t>(server.Port()));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(Refusal(env), HasSubstr("no TLS connection: it took too long"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
}

TEST_F(CertTest, EnvironmentOverHttpIsRefusedWithoutAnAlert)
{
    const WebServer server(m_ca.Issue());
    EnvironmentPath env = Environment(server);
    env.set_protocols(0, 1);
    EXPECT_THAT(Refusal(env), HasSubstr("the environment is used over http, where there is no certificate"));
    EXPECT_FALSE(std::filesystem::exists(AlertPath()));
    EXPECT_EQ(0U, server.ConnectionCount());
}

TEST_F(CertTest, EnvironmentWithoutAddressOrPortIsRefusedWithoutAnAlert)
{
    const WebServer server(m_ca.Issue());
    EnvironmentPath env = Environment(server);
    env.clear_ports();
    EXPECT_THAT(Refusal(env), HasSubstr("the environment names no management address or no port"));
    env = Environment(server);
    env.clear_management_ips();
    EXPECT_THAT(Refusal(env), HasSubstr("the environment names no management address or no port"));
    env = Environment(server, "bad address\n");
    EXPECT_THAT(Refusal(env), HasSubstr("the URL has a blank or a control character in it"));
    env = Environment(server);
    env.set_ports(0, 70000);
    EXPECT_THAT(Refusal(env), HasSubstr("the URL is malformed"));
    EXPECT_FALSE(std::filesystem::exists(AlertPath()));
}

TEST_F(CertTest, NoAlertIsKeptWhereNoneIsWanted)
{
    const WebServer server(TestCa("Foreign CA").Issue());
    EXPECT_FALSE(Verify(Environment(server), false));
    EXPECT_FALSE(std::filesystem::exists(AlertPath()));
}

} // namespace

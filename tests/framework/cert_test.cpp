#include "common/framework/cert.h"

#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/raw_server.h"
#include "tests/framework/support/web_server.h"

#include <google/protobuf/util/message_differencer.h>
#include <json/reader.h>
#include <json/value.h>
#include <openssl/x509.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using google::protobuf::util::MessageDifferencer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

struct Alert {
    std::string address;
    std::string reason;
};

bool operator==(const Alert& one, const Alert& other)
{
    return one.address == other.address && one.reason == other.reason;
}

std::ostream& operator<<(std::ostream& stream, const Alert& alert)
{
    return stream << alert.address << ": " << alert.reason;
}

class CertTest : public FrameworkTest {
protected:
    CertTest()
    {
        WriteText(InRoot("ca.pem"), m_ca.Own().Pem());
        Configure({{"Cert", {{"TrustStore", "ca.pem"}}}});
    }

    static EnvironmentPath Environment(const WebServer& server, const std::string& address = "127.0.0.1")
    {
        EnvironmentPath env;
        env.add_management_ips(address);
        env.add_management_ips("127.0.0.9"); // the first counts
        env.add_user_names("user");
        env.add_certificates("stored");
        env.add_certificates("another");
        env.add_ports(static_cast<std::uint64_t>(server.Port()));
        env.add_protocols(0);
        return env;
    }

    bool Verify(const EnvironmentPath& env, bool raiseAlert = true, const std::string& role = "BackupNode")
    {
        m_result.add_user_names("left over");
        m_info.set_subject("left over");
        return Cert::VerifyCertForEnv(env, m_result, "Component", m_info, raiseAlert, role, 42);
    }

    /// The reason of a refusal, as the log tells it.
    std::string Refusal(const EnvironmentPath& env)
    {
        EXPECT_FALSE(Verify(env));
        EXPECT_TRUE(MessageDifferencer::Equals(EnvironmentPath(), m_result));
        const std::vector<std::string> lines = LogTexts("3");
        return lines.empty() ? "" : lines.back();
    }

    std::string AlertPath(const std::string& fileName = "BackupNode.json") const
    {
        return InRoot("conf/alerts/" + fileName);
    }

    std::vector<Alert> Alerts(const std::string& fileName = "BackupNode.json") const
    {
        Json::Value root;
        std::istringstream(ReadText(AlertPath(fileName))) >> root;
        std::vector<Alert> alerts;
        for (const Json::Value& alert : root["alerts"]) {
            EXPECT_THAT(alert["time"].asString(), MatchesRegex("20[0-9-]+T[0-9:]+Z"));
            alerts.push_back({alert["address"].asString(), alert["reason"].asString()});
        }
        return alerts;
    }

    const TestCa m_ca;
    EnvironmentPath m_result;
    VerifiedCertInfo m_info;
};

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
    hash << std::hex << X509_NAME_hash_ex(X509_get_subject_name(m_ca.Own().certificate.get()), nullptr, nullptr, nullptr);
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

/// The alerts of servers on several loopback addresses, whose certificates nobody trusts.
class CertAlertTest : public CertTest {
protected:
    void Refuse(const std::string& address, const std::string& role = "BackupNode")
    {
        const WebServer server(TestCa("Foreign CA").Issue(), address);
        EXPECT_FALSE(Verify(Environment(server, address), true, role));
    }

    std::vector<std::string> Addresses(const std::string& fileName = "BackupNode.json") const
    {
        std::vector<std::string> addresses;
        for (const Alert& alert : Alerts(fileName)) {
            addresses.push_back(alert.address);
        }
        return addresses;
    }
};

TEST_F(CertAlertTest, EachAddressHasOneAlert)
{
    Refuse("127.0.0.1");
    Refuse("127.0.0.2");
    Refuse("127.0.0.1");
    EXPECT_THAT(Addresses(), ElementsAre("127.0.0.2", "127.0.0.1"));
}

TEST_F(CertAlertTest, ResumeClearsTheAlertOfOneAddress)
{
    Refuse("127.0.0.1");
    Refuse("127.0.0.2");
    Cert::ResumeAlertForEnv("127.0.0.1", "BackupNode", 0);
    EXPECT_THAT(Addresses(), ElementsAre("127.0.0.2"));
    Cert::ResumeAlertForEnv("127.0.0.2", "BackupNode", 0);
    EXPECT_THAT(Addresses(), IsEmpty());
}

TEST_F(CertAlertTest, ResumeOfAnUnknownAddressChangesNothing)
{
    Cert::ResumeAlertForEnv("127.0.0.1", "BackupNode", 0);
    EXPECT_FALSE(std::filesystem::exists(InRoot("conf/alerts")));
    Refuse("127.0.0.1");
    const auto time = std::filesystem::last_write_time(AlertPath());
    Cert::ResumeAlertForEnv("127.0.0.7", "BackupNode", 0);
    EXPECT_THAT(Addresses(), ElementsAre("127.0.0.1"));
    EXPECT_EQ(time, std::filesystem::last_write_time(AlertPath()));
    EXPECT_THAT(LogTexts("4"), IsEmpty());
}

TEST_F(CertAlertTest, RolesAreApartAndNoneLeavesTheDirectory)
{
    Refuse("127.0.0.1", "../../Escape");
    Refuse("127.0.0.2", "a/b");
    Refuse("127.0.0.3", "");
    Refuse("127.0.0.4", std::string(5000, '/'));
    EXPECT_THAT(Addresses("%2E%2E%2F%2E%2E%2FEscape.json"), ElementsAre("127.0.0.1"));
    EXPECT_THAT(Addresses("a%2Fb.json"), ElementsAre("127.0.0.2"));
    EXPECT_THAT(Addresses(".json"), ElementsAre("127.0.0.3"));
    EXPECT_EQ(8, std::distance(std::filesystem::directory_iterator(InRoot("conf/alerts")), {})); // with their locks
    Cert::ResumeAlertForEnv("127.0.0.1", "a/b", 0);
    EXPECT_THAT(Addresses("a%2Fb.json"), ElementsAre("127.0.0.2"));
}

TEST_F(CertAlertTest, FileThatIsNoListOfAlertsIsSetAside)
{
    for (const std::string& text : {std::string("{broken"), std::string("[]"), std::string("{\"alerts\":[1]}"),
                                    std::string(3000, '[')}) {
        WriteText(AlertPath(), text);
        Refuse("127.0.0.1");
        EXPECT_THAT(Addresses(), ElementsAre("127.0.0.1"));
        EXPECT_EQ(text, ReadText(AlertPath("BackupNode.json.unreadable")));
        EXPECT_EQ(AlertPath() + " is no list of certificate alerts; it is kept as " +
                      AlertPath("BackupNode.json.unreadable"),
                  LogTexts("4").back());
    }
}

TEST_F(CertAlertTest, AlertThatCannotBeKeptIsLogged)
{
    WriteText(InRoot("conf/alerts"), "a file where the directory should be");
    Refuse("127.0.0.1");
    EXPECT_THAT(LogTexts("4"), ElementsAre(HasSubstr("The certificate alerts " + AlertPath() + " cannot be changed: ")));
    Cert::ResumeAlertForEnv("127.0.0.1", "BackupNode", 0);
}

TEST_F(CertAlertTest, ThreadsThatRaiseAndClearLoseNothing)
{
    Configure({{"Cert", {{"TrustStore", "no.pem"}}}}); // refuses at once
    const auto refuse = [](int number) {
        EnvironmentPath env;
        env.add_management_ips("10.0.0." + std::to_string(number));
        env.add_ports(1);
        EnvironmentPath result;
        VerifiedCertInfo info;
        Cert::VerifyCertForEnv(env, result, "Component", info, true, "BackupNode", 0);
    };
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([number, &refuse] {
            refuse(number);
            refuse(number + 100);
            Cert::ResumeAlertForEnv("10.0.0." + std::to_string(number), "BackupNode", 0);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::string> addresses = Addresses();
    std::sort(addresses.begin(), addresses.end());
    EXPECT_THAT(addresses, ElementsAre("10.0.0.100", "10.0.0.101", "10.0.0.102", "10.0.0.103", "10.0.0.104",
                                       "10.0.0.105", "10.0.0.106", "10.0.0.107"));
}

} // namespace

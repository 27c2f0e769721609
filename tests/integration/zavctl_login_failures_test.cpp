#include "tests/integration/failure_stage.h"
#include "tests/support/full_listener.h"
#include "tests/support/http_server.h"
#include "tests/support/test_ca.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

/// Each way in which a login comes to nothing.
class ZavctlLoginFailuresTest : public FailureStage {
protected:
    const std::string WRONG_USER = "correct user and password: encrypt the password with zavctl password encrypt, and "
                                   "put both into the environment";
    const std::string SILENT_PORT = "something there takes connections and then says nothing: check that the array's "
                                    "management service runs and that the port is its, then the way to the address";
    const std::string NOTHING_IN_TIME = "no answer came in time: check the way to the address (routes, firewalls, "
                                        "cables), then the array";

    /// "env: cannot log into the array at ADDRESS" and why.
    static std::string Cause(const std::string& env, const std::string& address, const std::string& why)
    {
        return env + ": cannot log into the array at " + address + ": " + why;
    }

    static std::string Request(const std::string& server)
    {
        return "POST " + server + "/deviceManager/rest//sessions failed: ";
    }

    /// An environment for addresses at which there is no array of ours.
    std::string EnvironmentFor(const std::vector<std::string>& addresses, int port = Array::PORT,
                               const std::string& protocol = "0")
    {
        std::string all;
        for (const std::string& address : addresses) {
            all += (all.empty() ? "\"" : ", \"") + address + "\"";
        }
        const std::string path = Directory() + "/env.json";
        WriteText(path, R"({"managementIps": [")" + addresses.front() +
                            R"("], "userNames": ["admin"], "encryptedPasswords": [")" + EncryptedPassword() +
                            R"("], "certificates": ["array"], "ports": [)" + std::to_string(port) +
                            R"(], "protocols": [)" + protocol + R"(], "allManagementIps": [)" + all + "]}\n");
        return path;
    }

    /// A server with this certificate, whose authority is trusted.
    std::unique_ptr<HttpServer> ServerWith(const CertificateWish& wish)
    {
        const TestCa authority;
        const Identity identity = authority.Issue(wish);
        WriteText(Directory() + "/authority.pem", authority.Own().Pem());
        Configure({{"Http.CaFile", Directory() + "/authority.pem"}});
        Base::TlsContextHandle context(SSL_CTX_new(TLS_server_method()));
        EXPECT_EQ(1, SSL_CTX_use_certificate(context.get(), identity.certificate.get()));
        EXPECT_EQ(1, SSL_CTX_use_PrivateKey(context.get(), identity.key.get()));
        return std::make_unique<HttpServer>(
            "127.0.0.1", [](const ServedRequest&, HttpReply&) {}, std::move(context));
    }

    void ExpectCertificateRefused(const CertificateWish& wish, const std::string& why, const std::string& remedy)
    {
        const auto server = ServerWith(wish);
        const std::string env = EnvironmentFor({"127.0.0.1"}, server->Port());
        const std::string url = "https://127.0.0.1:" + std::to_string(server->Port());
        ExpectEnding({"inventory", "--env", env}, {8, Cause(env, "127.0.0.1", Request(url) + why), remedy});
    }
};

TEST_F(ZavctlLoginFailuresTest, WrongPassword)
{
    WriteText(Directory() + "/password", "something else\n");
    ArrayOptions options;
    options.further = {"--user", "admin", "--password-file", Directory() + "/password"};
    const Array& array = StartArray(options);
    const std::string env = EnvironmentFileOf(array);
    ExpectEnding({"init", "--env", env}, {6,
                                          Cause(env, array.Options().managementIps[0],
                                                "The user name or the password is wrong: user \"admin\" (1090519041)"),
                                          WRONG_USER});
}

TEST_F(ZavctlLoginFailuresTest, UnknownUser)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    Change(env, "\"admin\"", "\"nobody\"");
    ExpectEnding({"init", "--env", env}, {6,
                                          Cause(env, array.Options().managementIps[0],
                                                "The user name or the password is wrong: user \"nobody\" (1090519041)"),
                                          WRONG_USER});
}

TEST_F(ZavctlLoginFailuresTest, RefusalInWordsThatNobodyKnows)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "code", "code": 42, "description": "no way", "target": "sessions", "count": 0})");
    ExpectEnding(
        {"inventory", "--env", env},
        {6, Cause(env, array.Options().managementIps[0], "no way (42)"),
         "the array's words are not known here: look for the login in its event log (a locked user, a right that "
         "is missing, a password that has lapsed or is wrong), then run the command again"});
}

TEST_F(ZavctlLoginFailuresTest, BusyArray)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "code", "code": 1077949006, "description": "later", "target": "sessions", "count": 0})");
    ExpectEnding({"init", "--env", env}, {9, Cause(env, array.Options().managementIps[0], "later (1077949006)"),
                                          "the array is busy: run the command again in a few minutes"});
}

TEST_F(ZavctlLoginFailuresTest, LimitOfSessions)
{
    ArrayOptions options;
    options.further = {"--session-limit", "1"};
    const Array& array = StartArray(options);
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "silent", "target": "storagepool"})");
    const auto first = StartZavctl({"inventory", "--env", env});
    AwaitRequest(array, "GET storagepool");
    ExpectEnding({"inventory", "--env", env, "--timeout", "2"},
                 {8,
                  "given up after 2 s, at the step: " + env +
                      ": as many sessions as the array takes stand on it: waiting for one to end",
                  "run the command again later; where it stays so, have the array's administrator end sessions that "
                  "are abandoned, none that is in use"});
    const std::string all = "\"" + array.Options().managementIps.back() + "\"]";
    Change(env, all, all.substr(0, all.size() - 1) + ", \"" + Address(5) + "\"]"); // where nobody listens
    const auto second = StartZavctl({"inventory", "--env", env});
    second->AwaitError("waiting for one to end");
    first->Signal(SIGTERM);
    first->Wait();
    EXPECT_EQ(0, second->Wait()) << second->Errors();
}

TEST_F(ZavctlLoginFailuresTest, RefusedConnection)
{
    const std::string env = EnvironmentFor({Address(0)});
    ExpectEnding({"init", "--env", env},
                 {8,
                  Cause(env, Address(0),
                        Request("https://" + Address(0) + ":8088") + "Failed to connect to " + Address(0) +
                            " port 8088 after N ms: Couldn't connect to server: Connection refused (libcurl 7)"),
                  "nothing listens there: check address and port in the environment, and that the array's management "
                  "service runs"});
}

TEST_F(ZavctlLoginFailuresTest, AddressThatTakesConnectionsAndIsSilent)
{
    const FullListener silent(Address(0), Array::PORT, FullListener::Queue::Long);
    const std::string env = EnvironmentFor({Address(0)});
    ExpectEnding(
        {"inventory", "--env", env},
        {8, Cause(env, Address(0), Request("https://" + Address(0) + ":8088") + "SSL connection timeout (libcurl 28)"),
         SILENT_PORT});
}

TEST_F(ZavctlLoginFailuresTest, AddressThatSwallowsConnections)
{
    const FullListener full(Address(0), Array::PORT);
    const std::string env = EnvironmentFor({Address(0)});
    ExpectEnding({"inventory", "--env", env},
                 {8,
                  Cause(env, Address(0),
                        Request("https://" + Address(0) + ":8088") + "Failed to connect to " + Address(0) +
                            " port 8088 after N ms: Timeout was reached (libcurl 28)"),
                  NOTHING_IN_TIME});
}

TEST_F(ZavctlLoginFailuresTest, ThreeDeadAddresses)
{
    const FullListener first(Address(0), Array::PORT);
    const FullListener second(Address(1), Array::PORT);
    const FullListener third(Address(2), Array::PORT);
    const std::string env = EnvironmentFor({Address(0), Address(1), Address(2)});
    std::string tried;
    for (const int index : {0, 1, 2}) {
        const std::string url = "https://" + Address(index) + ":8088";
        tried += index == 0 ? "" : "; nor at " + url + ": ";
        tried += Request(url) + "Failed to connect to " + Address(index) +
                 " port 8088 after N ms: Timeout was reached (libcurl 28)";
    }
    ExpectEnding({"inventory", "--env", env}, {8, Cause(env, Address(0), tried), NOTHING_IN_TIME},
                 AFTER_THREE_ADDRESSES);
}

TEST_F(ZavctlLoginFailuresTest, RemedyIsForTheAddressThatDecides)
{
    ArrayOptions options;
    options.managementIps = {Address(1)};
    const Array& array = StartArray(options);
    const std::string env = EnvironmentFor({Address(0), Address(1)});
    Change(env, "\"admin\"", "\"nobody\"");
    ExpectEnding(
        {"inventory", "--env", env},
        {6,
         Cause(env, Address(0),
               Request("https://" + Address(0) + ":8088") + "Failed to connect to " + Address(0) +
                   " port 8088 after N ms: Couldn't connect to server: Connection refused (libcurl 7); nor at " +
                   array.Url() + ": The user name or the password is wrong: user \"nobody\" (1090519041)"),
         WRONG_USER});
}

TEST_F(ZavctlLoginFailuresTest, NameThatDoesNotResolve)
{
    const std::string name(64, 'n'); // longer than any name in the domain name system: nobody is asked
    const std::string env = EnvironmentFor({name});
    ExpectEnding(
        {"init", "--env", env},
        {8, Cause(env, name, Request("https://" + name + ":8088") + "Could not resolve host: " + name + " (libcurl 6)"),
         "the name is not known here: correct the address in the environment, or this node's resolver"});
}

TEST_F(ZavctlLoginFailuresTest, HttpWhereHttpsIsSpoken)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    Change(env, "\"protocols\": [0]", "\"protocols\": [1]");
    const std::string& address = array.Options().managementIps[0];
    ExpectEnding({"init", "--env", env},
                 {8,
                  Cause(env, address, Request("http://" + address + ":8088") + "Empty reply from server (libcurl 52)"),
                  "the connection was closed without an answer: check that the port speaks what \"protocols\" in the "
                  "environment says, then the array"});
}

TEST_F(ZavctlLoginFailuresTest, HttpsWhereHttpIsSpoken)
{
    StartArray(); // makes the authority that is trusted
    ArrayOptions options;
    options.protocol = "http";
    const Array& array = StartArray(options);
    const std::string env = EnvironmentFileOf(array);
    Change(env, "\"protocols\": [1]", "\"protocols\": [0]");
    const std::string& address = array.Options().managementIps[0];
    ExpectEnding({"init", "--env", env},
                 {8,
                  Cause(env, address,
                        Request("https://" + address + ":8088") +
                            "OpenSSL/N: error:0A00010B:SSL routines::wrong version number (libcurl 35)"),
                  "no TLS was agreed on: check that the port speaks https, and \"protocols\" in the environment"});
}

TEST_F(ZavctlLoginFailuresTest, CertificateOfAnotherAuthority)
{
    ArrayOptions options;
    options.caFolder = Directory() + "/foreign";
    StartArray(); // makes the authority that is trusted
    const Array& array = StartArray(options);
    const std::string env = EnvironmentFileOf(array);
    ExpectEnding(
        {"init", "--env", env},
        {8,
         Cause(env, array.Options().managementIps[0],
               Request(array.Url()) + "SSL certificate problem: unable to get local issuer certificate (certificate "
                                      "verification: unable to get local issuer certificate) (libcurl 60)"),
         "compare the certificate's fingerprint with the one that the array's administrator tells, then name its "
         "authority's file in [Http] CaFile of backupnode.ini"});
    EXPECT_THAT(array.Requests(), ::testing::IsEmpty());
}

TEST_F(ZavctlLoginFailuresTest, CertificateThatHasExpired)
{
    CertificateWish wish;
    wish.validFromSeconds = -7200;
    wish.validToSeconds = -3600;
    ExpectCertificateRefused(
        wish,
        "SSL certificate problem: certificate has expired (certificate verification: certificate "
        "has expired) (libcurl 60)",
        "look at this node's clock first (date); when that is right, have the array show a certificate that is valid "
        "now");
}

TEST_F(ZavctlLoginFailuresTest, CertificateThatIsNotValidYet)
{
    CertificateWish wish;
    wish.validFromSeconds = 3600;
    wish.validToSeconds = 7200;
    ExpectCertificateRefused(wish,
                             "SSL certificate problem: certificate is not yet valid (certificate verification: "
                             "certificate is not yet valid) (libcurl 60)",
                             "look at this node's clock first (date); when that is right, have the array show a "
                             "certificate that is valid now");
}

TEST_F(ZavctlLoginFailuresTest, CertificateOfAnotherAddress)
{
    CertificateWish wish;
    wish.altNames = "IP:127.0.0.9";
    ExpectCertificateRefused(wish,
                             "SSL certificate problem: IP address mismatch (certificate verification: IP address "
                             "mismatch) (libcurl 60)",
                             "see first that this address is the meant array's; then have it show a certificate that "
                             "names the address, or put one that its certificate names into the environment");
}

TEST_F(ZavctlLoginFailuresTest, ManagementServiceBehindAProxyThatFails)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "status", "status": 503, "target": "sessions", "count": 0})");
    ExpectEnding({"inventory", "--env", env},
                 {9,
                  Cause(env, array.Options().managementIps[0],
                        "HTTP status 503 (Service Unavailable) in answer to POST " + array.Url() +
                            "/deviceManager/rest//sessions"),
                  "the management service, or a proxy before it, failed: look at the array's alarms, then run the "
                  "command again"});
}

TEST_F(ZavctlLoginFailuresTest, AnswerThatIsNoArrays)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "garbage", "target": "sessions", "count": 0})");
    ExpectEnding({"inventory", "--env", env},
                 {9, Cause(env, array.Options().managementIps[0], "Parse json string failed"),
                  "what answers there is no management interface that is known here: check address and port in the "
                  "environment"});
}

TEST_F(ZavctlLoginFailuresTest, SessionThatEndsInTheMiddle)
{
    const Array& array = StartArray();
    const std::string env = EnvironmentFileOf(array);
    array.AddFault(R"({"kind": "code", "code": -401, "description": "no such session", "target": "storagepool"})");
    ExpectEnding({"inventory", "--env", env},
                 {9, array.Url() + ": cannot read the storage pools: no such session (-401)",
                  "the session lapsed: run the command again"});
}

} // namespace

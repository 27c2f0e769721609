#include "tests/simulator/support/raw_connection.h"
#include "tests/simulator/support/running_simulation.h"

#include <gmock/gmock.h>

#include <set>
#include <thread>

namespace ZavSimTest {
namespace {

using ::testing::HasSubstr;
using ZavSim::Code;

class HttpServerTest : public SimulationTest {
protected:
    /// How many connections the journal has seen.
    std::size_t Connections()
    {
        std::set<std::uint64_t> numbers;
        const Reply journal = Admin("GET", "journal");
        for (const Json::Value& entry : journal.json["entries"]) {
            numbers.insert(entry["connection"].asUInt64());
        }
        return numbers.size();
    }

    void UseTls()
    {
        options.listen = {{true, "127.0.0.1", 0}, {true, "::1", 0}};
        Start();
    }

    std::string Authority() const { return folder.File("ca/ca.pem"); }
};

TEST_F(HttpServerTest, ConnectionIsKeptForAsManyRequestsAsTheClientLikes)
{
    Start();
    const auto client = Client();
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(0, client->Get("lun/count").Code());
    }
    EXPECT_EQ(1U, Connections());
}

TEST_F(HttpServerTest, DeleteWithoutALengthIsAnsweredAtOnce)
{
    Start();
    const RawConnection connection(Url());
    for (int i = 0; i < 2; ++i) { // on the same connection, so nothing of the first may be left over
        connection.Send("DELETE /deviceManager/rest/x/sessions HTTP/1.1\r\nHost: a\r\n\r\n");
        EXPECT_THAT(connection.ReceiveUntil("\"error\""), HasSubstr("HTTP/1.1 200 OK"));
    }
    EXPECT_EQ(1U, Connections());
}

TEST_F(HttpServerTest, RequestIsReadInWhateverPiecesItComes)
{
    Start();
    const RawConnection connection(Url());
    const std::string body = R"({"username":"admin","password":"zavsim-admin","scope":0})";
    const std::string request =
        "POST /deviceManager/rest//sessions HTTP/1.1\r\nHost: a\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\n\r\n" + body;
    for (const char byte : request) {
        connection.Send(std::string(1, byte));
    }
    EXPECT_THAT(connection.ReceiveUntil("\"description\":\"0\""), HasSubstr("iBaseToken"));
}

TEST_F(HttpServerTest, TwoRequestsInOnePieceAreBothAnswered)
{
    Start();
    const RawConnection connection(Url());
    const std::string request = "GET /zavsim/listeners HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    connection.Send(request + request);
    const std::string first = connection.ReceiveUntil("listening");
    EXPECT_THAT(first.find("listening") == first.rfind("listening") ? connection.ReceiveUntil("listening") : first,
                HasSubstr("listening"));
}

TEST_F(HttpServerTest, BrokenRequestIsRefusedAndHarmsNobody)
{
    Start();
    const RawConnection connection(Url());
    connection.Send("RUBBISH\r\n\r\n");
    EXPECT_THAT(connection.ReceiveUntil("\r\n"), HasSubstr("400"));
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login());
}

TEST_F(HttpServerTest, TooLargeABodyIsRefused)
{
    options.server.bodyBytes = 1000;
    Start();
    EXPECT_EQ(413, ArrayClient(Url()).Raw("POST", "/deviceManager/rest//sessions", std::string(1001, 'x')).status);
}

TEST_F(HttpServerTest, OtherPathsAreNotFound)
{
    Start();
    EXPECT_EQ(404, ArrayClient(Url()).Raw("GET", "/").status);
    EXPECT_EQ(404, ArrayClient(Url()).Raw("GET", "/deviceManager").status);
}

TEST_F(HttpServerTest, ManyClientsAtOnceEachKeepTheirConnection)
{
    constexpr int CLIENTS = 40;
    constexpr int REQUESTS = 25;
    options.sessions.sessions = CLIENTS;
    Start();
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < CLIENTS; ++i) {
        threads.emplace_back([this, i, &good] {
            ArrayClient client(Url());
            good += client.Login().Code() == 0 ? 1 : 0;
            for (int j = 0; j < REQUESTS; ++j) {
                const std::string name = std::to_string(i) + "-" + std::to_string(j);
                good += client.Post("host", R"({"NAME":")" + name + R"(","TYPE":"21"})").Code() == 0 ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(CLIENTS * (REQUESTS + 1), good);
    EXPECT_EQ(CLIENTS, static_cast<int>(Connections()));
    EXPECT_EQ(CLIENTS * REQUESTS, static_cast<int>(Admin("GET", "objects").json["host"].size()));
}

TEST_F(HttpServerTest, ConnectionsBeyondTheLimitWaitTheirTurn)
{
    options.server.connections = 1;
    Start();
    auto first = Client();
    auto second = std::make_unique<RawConnection>(Url());
    second->Send("DELETE /deviceManager/rest/x/sessions HTTP/1.1\r\nHost: a\r\n\r\n");
    for (int i = 0; i < 50; ++i) {
        EXPECT_CODE(Code::Success, first->Get("lun/count"));
    }
    first.reset(); // hangs up
    EXPECT_THAT(second->ReceiveUntil("\"error\""), HasSubstr("HTTP/1.1 200 OK"));
    second.reset();
    const Reply journal = Admin("GET", "journal");
    const Json::Value& entries = journal.json["entries"];
    ASSERT_EQ(52U, entries.size());
    EXPECT_EQ("DELETE", entries[51]["method"].asString()) << "it came before the others, and waited for them";
}

TEST_F(HttpServerTest, EndDoesNotWaitForIdleConnections)
{
    Start();
    const auto client = Client();
    const auto begin = std::chrono::steady_clock::now();
    simulation.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3)); // they might lie idle for a minute
}

TEST_F(HttpServerTest, AddressClosesWhileItsConnectionsGo)
{
    constexpr int ROUNDS = 100;
    constexpr int CONNECTIONS = 8;
    Start();
    ZavSim::Listener& listener = *simulation->Listeners().All().front();
    for (int round = 0; round < ROUNDS; ++round) {
        std::vector<std::unique_ptr<RawConnection>> connections;
        for (int i = 0; i < CONNECTIONS; ++i) {
            connections.push_back(std::make_unique<RawConnection>(Url()));
            connections.back()->Send("GET /deviceManager/rest HTTP/1.1\r\nhost: array\r\n\r\n");
        }
        std::thread leaving([&connections] { connections.clear(); });
        listener.Stop();
        leaving.join();
        listener.Start();
    }
    EXPECT_CODE(Code::Success, ArrayClient(Url()).Login());
}

TEST_F(HttpServerTest, TlsChainVerifiesWithTheAuthorityInTheFolder)
{
    UseTls();
    for (const std::size_t listener : {std::size_t(0), std::size_t(1)}) {
        ArrayClient client(Url(listener), Authority());
        EXPECT_CODE(Code::Success, client.Login()) << Url(listener);
        EXPECT_EQ(0, client.Http().VerifyResult());
        EXPECT_CODE(Code::Success, client.Get("lun/count"));
        EXPECT_CODE(Code::Success, client.Delete("sessions"));
    }
}

TEST_F(HttpServerTest, TlsChainDoesNotVerifyWithAnotherAuthority)
{
    UseTls();
    ZavSim::CertificateFolder other(folder.File("other"));
    ArrayClient client(Url(), other.AuthorityPath());
    EXPECT_EQ(0, client.Login().status);
    EXPECT_NE(0, client.Http().VerifyResult());
}

TEST_F(HttpServerTest, TlsServesManyClientsAtOnce)
{
    UseTls();
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([this, &good] {
            ArrayClient client(Url(), Authority());
            good += client.Login().Code() == 0 && client.Get("lun?range=[0-16]").Data().size() == 16 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(16, good);
}

TEST_F(HttpServerTest, ClientWithoutTlsIsTurnedAwayByATlsAddress)
{
    UseTls();
    const std::string plain = "http" + Url().substr(5);
    EXPECT_EQ(0, ArrayClient(plain).Login().status);
    EXPECT_CODE(Code::Success, ArrayClient(Url(), Authority()).Login());
}

TEST_F(HttpServerTest, AddressInUseIsNamedWithTheReason)
{
    Start();
    ZavSim::Options second = options;
    second.listen = {ZavSim::ParseListenAddress(Url())};
    ZavSim::Simulation other(second);
    try {
        other.Start();
        FAIL() << "two simulators on one address";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot listen on " + Url() + ": Address already in use"));
    }
}

TEST_F(HttpServerTest, EndWaitsForThoseWhoLookAtTheAddresses)
{
    constexpr int ROUNDS = 20;
    constexpr int CONNECTIONS = 8;
    constexpr std::size_t ADDRESSES = 64;
    std::string requests;
    for (int i = 0; i < 500; ++i) {
        requests += "GET /zavsim/listeners HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    }
    options.listen.assign(ADDRESSES, options.listen.front());
    for (int round = 0; round < ROUNDS; ++round) {
        Start();
        std::vector<std::unique_ptr<RawConnection>> connections;
        std::vector<std::thread> clients;
        for (int i = 0; i < CONNECTIONS; ++i) {
            connections.push_back(std::make_unique<RawConnection>(Url(ADDRESSES - 1))); // the last to close
            connections.back()->Send(requests);
        }
        std::atomic<int> served{0};
        for (const auto& connection : connections) {
            clients.emplace_back([&served, &connection] {
                connection->ReceiveUntil("listening");
                ++served;
                connection->ReceiveUntil("until the end");
            });
        }
        while (served < CONNECTIONS) {
            std::this_thread::yield();
        }
        simulation.reset();
        for (std::thread& client : clients) {
            client.join();
        }
    }
    Start();
    EXPECT_CODE(Code::Success, ArrayClient(Url(ADDRESSES - 1)).Login());
}

TEST_F(HttpServerTest, BlankLinesBeforeARequestAreNoneOfIt)
{
    Start();
    const std::string request = "GET /zavsim/listeners HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    const RawConnection connection(Url());
    connection.Send("\r\n\r\n" + request);
    EXPECT_THAT(connection.ReceiveUntil("listening"), HasSubstr("HTTP/1.1 200 OK"));
    for (const char byte : "\r\n" + request) {
        connection.Send(std::string(1, byte));
    }
    EXPECT_THAT(connection.ReceiveUntil("listening"), HasSubstr("HTTP/1.1 200 OK"));
}

TEST_F(HttpServerTest, WholeAddressOfARequestNamesTheSameAsItsPath)
{
    Start();
    const RawConnection connection(Url());
    connection.Send("GET " + Url() + "/zavsim/listeners HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    EXPECT_THAT(connection.ReceiveUntil("listening"), HasSubstr("HTTP/1.1 200 OK"));
    connection.Send("DELETE " + Url() + "/deviceManager/rest/x/sessions HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    EXPECT_THAT(connection.ReceiveUntil("\"error\""), HasSubstr("HTTP/1.1 200 OK"));
    EXPECT_EQ("/deviceManager/rest/x/sessions", Admin("GET", "journal").json["entries"][0]["target"].asString());
}

} // namespace
} // namespace ZavSimTest

#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/http_exchange.h"
#include "tests/framework/support/raw_server.h"
#include "tests/framework/support/web_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::Not;

/// Which requests share a connection, and what a connection carries over from one to the next.
class HttpConnectionsTest : public FrameworkTest {
protected:
    static bool IsAnswered(QEN::IHttpClient& client, const std::string& url)
    {
        return client.SendRequest(Request("GET", url), 20)->IsSuccess();
    }

    void Trust(const TestCa& ca) const { WriteText(InRoot("ca.pem"), ca.Own().Pem()); }

    const TestCa m_ca;
};

TEST_F(HttpConnectionsTest, ClientsOfOneServerShareItsConnection)
{
    Trust(m_ca);
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    WebServer server(m_ca.Issue());
    server.Answer("GET", "/a", "{}");
    const auto first = QEN::IHttpClient::CreateClient();
    const auto second = QEN::IHttpClient::CreateClient();
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(IsAnswered(*first, server.Url("/a")));
        EXPECT_TRUE(IsAnswered(*second, server.Url("/a")));
    }
    EXPECT_EQ(1U, server.ConnectionCount());
}

// The descriptors of this process that are connected to the server.
std::vector<int> ConnectedTo(int port)
{
    std::vector<int> connected;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        sockaddr_in peer = {};
        socklen_t size = sizeof(peer);
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 && peer.sin_family == AF_INET &&
            ntohs(peer.sin_port) == port) {
            connected.push_back(descriptor);
        }
    }
    return connected;
}

TEST_F(HttpConnectionsTest, ConnectionIsNotLeftOpenToOtherPrograms)
{
    WebServer server;
    server.Answer("GET", "/a", "{}");
    const auto client = QEN::IHttpClient::CreateClient();
    EXPECT_TRUE(IsAnswered(*client, server.Url("/a")));
    const std::vector<int> connected = ConnectedTo(server.Port());
    ASSERT_EQ(1U, connected.size());
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(connected.front(), F_GETFD));
}

TEST_F(HttpConnectionsTest, ConnectionEndsWithTheLastClientThatSentOverIt)
{
    WebServer server;
    server.Answer("GET", "/a", "{}");
    const auto bystander = QEN::IHttpClient::CreateClient();
    for (std::size_t round = 1; round <= 2; ++round) {
        auto first = QEN::IHttpClient::CreateClient();
        auto second = QEN::IHttpClient::CreateClient();
        EXPECT_TRUE(IsAnswered(*first, server.Url("/a")));
        EXPECT_TRUE(IsAnswered(*second, server.Url("/a")));
        first.reset();
        EXPECT_TRUE(IsAnswered(*second, server.Url("/a")));
        EXPECT_EQ(round, server.ConnectionCount());
    }
}

TEST_F(HttpConnectionsTest, ServersDoNotShareConnections)
{
    WebServer one;
    one.Answer("GET", "/a", "one");
    WebServer other;
    other.Answer("GET", "/a", "other");
    const auto client = QEN::IHttpClient::CreateClient();
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ("one", client->SendRequest(Request("GET", one.Url("/a")), 20)->GetBody());
        EXPECT_EQ("other", client->SendRequest(Request("GET", other.Url("/a")), 20)->GetBody());
    }
    EXPECT_EQ(1U, one.ConnectionCount());
    EXPECT_EQ(1U, other.ConnectionCount());
}

TEST_F(HttpConnectionsTest, UrlsOfUnusualFormGoWhereTheyPoint)
{
    WebServer one;
    one.Answer("GET", "/a", "one");
    WebServer other;
    other.Answer("GET", "/a", "other");
    const auto client = QEN::IHttpClient::CreateClient();
    const auto withSlashes = [](const WebServer& server, const std::string& slashes) {
        return "http:" + slashes + "127.0.0.1:" + std::to_string(server.Port()) + "/a";
    };
    for (const std::string slashes : {"/", "//", "///"}) {
        EXPECT_EQ("one", client->SendRequest(Request("GET", withSlashes(one, slashes)), 20)->GetBody()) << slashes;
        EXPECT_EQ("other", client->SendRequest(Request("GET", withSlashes(other, slashes)), 20)->GetBody()) << slashes;
    }
    const std::string port = std::to_string(one.Port());
    EXPECT_THAT(client->SendRequest(Request("GET", "http://127.0.0.1:" + port + "9/a"), 20)->GetErrorText(),
                HasSubstr("the URL is malformed"));
    EXPECT_THAT(client->SendRequest(Request("GET", "http://127.0.0.1:" + port + "@127.0.0.2/a"), 20)->GetErrorText(),
                HasSubstr("the URL is malformed"));
}

TEST_F(HttpConnectionsTest, ClientWithMoreServersThanItRemembersReachesThemAll)
{
    constexpr std::size_t SERVERS = 20;
    std::vector<std::unique_ptr<WebServer>> servers;
    const auto client = QEN::IHttpClient::CreateClient();
    for (std::size_t index = 0; index < SERVERS; ++index) {
        servers.push_back(std::make_unique<WebServer>());
        servers.back()->Answer("GET", "/a", std::to_string(index));
    }
    for (int round = 0; round < 2; ++round) {
        for (std::size_t index = 0; index < SERVERS; ++index) {
            const auto response = client->SendRequest(Request("GET", servers[index]->Url("/a")), 20);
            EXPECT_EQ(std::to_string(index), response->GetBody());
        }
    }
}

TEST_F(HttpConnectionsTest, ClientThatIsMadeAfterTheAuthoritiesChangedVerifiesByThem)
{
    Trust(m_ca);
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    WebServer server(m_ca.Issue());
    server.Answer("GET", "/a", "{}");
    const auto old = QEN::IHttpClient::CreateClient();
    EXPECT_TRUE(IsAnswered(*old, server.Url("/a")));

    Trust(TestCa("New CA"));
    EXPECT_EQ(60, Get(server.Url("/a"))->IsNetworkError());
    EXPECT_TRUE(IsAnswered(*old, server.Url("/a"))); // whose connection was verified when it was made
}

TEST_F(HttpConnectionsTest, NewConnectionIsVerifiedAnewAndResumesNoOlderOne)
{
    Trust(m_ca);
    Configure({{"Http", {{"CaFile", "ca.pem"}}}});
    WebServer server(m_ca.Issue());
    server.Answer("GET", "/a", "{}");
    TMSHttpRequest last = Request("GET", server.Url("/a"));
    last.headers = {{"Connection", "close"}};
    const auto client = QEN::IHttpClient::CreateClient();
    EXPECT_TRUE(client->SendRequest(last, 20)->IsSuccess());
    EXPECT_TRUE(client->SendRequest(last, 20)->IsSuccess());
    EXPECT_EQ(2U, server.ConnectionCount());
    Trust(TestCa("New CA"));
    EXPECT_EQ(60, client->SendRequest(last, 20)->IsNetworkError());
}

/// Holds requests back until a number of them are there, so that they need a connection each.
class Gathering {
public:
    explicit Gathering(int size)
        : m_size(size)
    {
    }

    void Join()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const int turn = m_joined++ / m_size;
        m_isComplete.notify_all();
        m_isComplete.wait(lock, [&] { return m_joined >= (turn + 1) * m_size; });
    }

private:
    const int m_size;
    std::mutex m_mutex;
    std::condition_variable m_isComplete;
    int m_joined = 0; // guarded by m_mutex
};

TEST_F(HttpConnectionsTest, ManyThreadsHaveAConnectionEachAndKeepIt)
{
    constexpr int THREADS = 40;
    Gathering gathering(THREADS);
    WebServer server;
    server.On("/a", [&](const ServedRequest& /*request*/, HttpReply& /*reply*/) { gathering.Join(); });
    const auto client = QEN::IHttpClient::CreateClient();
    for (int round = 0; round < 3; ++round) { // each with new threads, on the connections that are there
        std::atomic<int> answered = 0;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < THREADS; ++thread) {
            threads.emplace_back([&] { answered += IsAnswered(*client, server.Url("/a")) ? 1 : 0; });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(THREADS, answered);
        EXPECT_EQ(static_cast<std::size_t>(THREADS), server.ConnectionCount());
    }
}

TEST_F(HttpConnectionsTest, NothingOfOneRequestIsSentWithTheNext)
{
    WebServer server;
    for (const std::string method : {"POST", "GET", "HEAD", "DELETE"}) {
        server.Answer(method, "/a", method == "HEAD" ? "" : method);
    }
    const auto client = QEN::IHttpClient::CreateClient();
    TMSHttpRequest login = Request("POST", server.Url("/a"), "body of the login");
    login.headers = {{"iBaseToken", "token"}, {"Accept-Encoding", "gzip"}, {"Content-Type", "text/plain"}};
    const auto send = [&](const TMSHttpRequest& request) {
        const auto response = client->SendRequest(request, 20);
        EXPECT_TRUE(response->IsSuccess()) << response->GetErrorText();
        return response->GetBody();
    };
    for (const std::string method : {"GET", "HEAD", "GET", "DELETE", "POST", "GET"}) {
        EXPECT_EQ("POST", send(login));
        EXPECT_EQ(method == "HEAD" ? "" : method, send(Request(method, server.Url("/a"))));
        const ServedRequest served = server.Requests().back();
        EXPECT_EQ(method, served.method);
        EXPECT_EQ("", served.body);
        for (const char* const name : {"iBaseToken", "Accept-Encoding", "Content-Type"}) {
            EXPECT_EQ("", served.Header(name)) << method << " " << name;
        }
    }
    EXPECT_EQ(1U, server.ConnectionCount());
}

TEST_F(HttpConnectionsTest, TimeLimitOfOneRequestIsNotThatOfTheNext)
{
    RawServer silent([](int socket) {
        ReadRequest(socket);
        SendText(socket, "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        ReadRequest(socket);
        ReadRequest(socket); // the end of the connection
    });
    const auto client = QEN::IHttpClient::CreateClient();
    EXPECT_TRUE(client->SendRequest(Request("GET", silent.Url("/a")), 1'000)->IsSuccess());
    EXPECT_EQ(28, client->SendRequest(Request("GET", silent.Url("/a")), 1)->IsNetworkError());
}

} // namespace

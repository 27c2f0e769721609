#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/http_exchange.h"
#include "tests/framework/support/web_server.h"

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

class HttpThreadsTest : public FrameworkTest {};

void Join(std::vector<std::thread>& threads)
{
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(HttpThreadsTest, ThreadsOnOneClientEachGetTheirOwnAnswer)
{
    constexpr int THREADS = 6;
    constexpr int ROUNDS = 30;
    WebServer server;
    server.On("/echo", [](const ServedRequest& request, HttpReply& response) {
        response.headers.emplace("Set-Cookie", "for=" + request.body);
        response.body = "answer to " + request.body;
    });
    std::atomic<int> wrong = 0;
    {
        const auto client = QEN::IHttpClient::CreateClient();
        std::vector<std::thread> threads;
        for (int thread = 0; thread < THREADS; ++thread) {
            threads.emplace_back([&, thread] {
                for (int round = 0; round < ROUNDS; ++round) {
                    const std::string id = std::to_string(thread) + "." + std::to_string(round);
                    const auto response = client->SendRequest(Request("POST", server.Url("/echo"), id), 20);
                    const bool isRight = response->IsSuccess() && response->GetBody() == "answer to " + id &&
                                         response->GetCookies() == std::set<std::string>{"for=" + id};
                    wrong += isRight ? 0 : 1;
                }
            });
        }
        Join(threads);
    }
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(static_cast<std::size_t>(THREADS * ROUNDS), server.Requests().size());
    // Each thread that found all handles busy opened one connection; none was opened per request.
    EXPECT_LE(server.ConnectionCount(), static_cast<std::size_t>(THREADS));
}

TEST_F(HttpThreadsTest, ClientsComeAndGoInManyThreads)
{
    WebServer server;
    server.Answer("GET", "/a", "{}");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 10; ++round) {
                wrong += Get(server.Url("/a"))->IsSuccess() ? 0 : 1;
            }
        });
    }
    Join(threads);
    EXPECT_EQ(0, wrong);
}

} // namespace

#include "bench/curl_memory.h"
#include "bench/plain_client.h"
#include "bench/stage.h"
#include "bench/topic.h"

#include <array>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

// Small requests of many threads at once on one client.

namespace {

constexpr int MOST_THREADS = 64;

void Ask(ZavRestApi& api)
{
    std::uint64_t count = 0;
    std::string error;
    if (api.GetLunCount(count, error) != 0) {
        throw std::runtime_error(error);
    }
}

void AskOnOneClient(benchmark::State& state)
{
    static const std::unique_ptr<ZavRestApi> api = Stage::LogIn(Stage::Get().Array());
    for (auto _ : state) {
        Ask(*api);
    }
}

void AskOnOwnHandles(benchmark::State& state)
{
    static std::array<std::unique_ptr<PlainClient>, MOST_THREADS> clients; // each one thread's at a time
    const PlainCurlMemory plain;
    auto& client = clients.at(static_cast<std::size_t>(state.thread_index()));
    if (client == nullptr) {
        client = std::make_unique<PlainClient>(Stage::Get().Array().Url(), Stage::Get().CertificateAuthority());
    }
    for (auto _ : state) {
        client->GetData("lun/count");
    }
}

void CountConnections(benchmark::State& state)
{
    const auto array = Stage::Get().StartArray(1, {"--journal", "10000"});
    for (auto _ : state) {
        const auto api = Stage::LogIn(*array);
        std::vector<std::thread> threads;
        threads.reserve(static_cast<std::size_t>(state.range(0)));
        for (int i = 0; i < state.range(0); ++i) {
            threads.emplace_back([&api] {
                constexpr int REQUESTS = 100;
                for (int request = 0; request < REQUESTS; ++request) {
                    Ask(*api);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    state.counters["connections"] = array->TakeConnections();
}

void TellThreads(benchmark::State& state)
{
    for (auto _ : state) {
    }
    state.counters["connections"] = static_cast<double>(state.range(0));
}

} // namespace

Topics ThreadTopics()
{
    constexpr double MOST_TIME = 1.053; // 0.95 of the requests a second
    Topic requests = {"threads",
                      "threads on one client, time to a request",
                      "as many libcurl handles",
                      AskOnOneClient,
                      AskOnOwnHandles,
                      {{Quantity::WALL, MOST_TIME, 8}, {Quantity::WALL, MOST_TIME, 32}}};
    requests.growth = {Growth::Of::Threads, "threads", {1, 2, 4, 8, 16, 32, 64}};
    requests.repetitions = 7;
    Topic connections = {"thread-connections",  "connections of threads on one client",
                         "one for each thread", CountConnections,
                         TellThreads,           {{"connections", 1, 8}, {"connections", 1, 32}}};
    connections.growth = {Growth::Of::Size, "threads", {8, 32}};
    connections.repetitions = 1;
    connections.seconds = 0;
    return {requests, connections};
}

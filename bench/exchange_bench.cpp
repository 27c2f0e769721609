#include "bench/curl_memory.h"
#include "bench/plain_client.h"
#include "bench/stage.h"
#include "bench/topic.h"

#include <memory>

// One small request over a connection that is kept.

namespace {

void GetLunCount(benchmark::State& state)
{
    static const std::unique_ptr<ZavRestApi> api = Stage::LogIn(Stage::Get().Array());
    for (auto _ : state) {
        std::uint64_t count = 0;
        std::string error;
        if (api->GetLunCount(count, error) != 0 || count != Stage::LUNS) {
            state.SkipWithError(error.c_str());
        }
    }
}

void AskByHand(benchmark::State& state, PlainClient& client)
{
    for (auto _ : state) {
        const Json::Value data = client.GetData("lun/count");
        if (std::stoull(data["COUNT"].asString()) != Stage::LUNS) {
            state.SkipWithError("wrong count");
        }
    }
}

void PlainGet(benchmark::State& state)
{
    const PlainCurlMemory plain;
    static PlainClient client(Stage::Get().Array().Url(), Stage::Get().CertificateAuthority());
    AskByHand(state, client);
}

void WipingGet(benchmark::State& state)
{
    static PlainClient client(Stage::Get().Array().Url(), Stage::Get().CertificateAuthority(),
                              PlainClient::Plaintext::Wiped);
    AskByHand(state, client);
}

} // namespace

Topics ExchangeTopics()
{
    constexpr const char* BY_HAND = "libcurl handle and JsonCpp by hand, same TLS";
    Topic quiet = {"small-get/level-4",
                   "`GetLunCount`, https kept alive, log level 4",
                   BY_HAND,
                   GetLunCount,
                   PlainGet,
                   {{Quantity::CPU, 1.25}, {Quantity::WALL, 1.10}}};
    Topic usual = {"small-get/level-1",
                   "the same, log level 1",
                   "the same, no log",
                   GetLunCount,
                   PlainGet,
                   {{Quantity::CPU, 1.45}, {Quantity::WALL, 1.20}}};
    usual.logLevel = 1;
    const Topic wiping = {
        "small-get/wiping", "`GetLunCount`, log level 4", "the same by hand, secrets wiped, too", GetLunCount,
        WipingGet,          {{Quantity::CPU, 1.05}}};
    Topics topics = {quiet, usual, wiping};
    for (Topic& topic : topics) {
        topic.repetitions = 31;
    }
    return topics;
}

#include "bench/local_array.h"
#include "common/framework/http_client.h"
#include "rest/zav_rest_api.h"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <memory>
#include <vector>

// One page of LUNs over a kept connection: bare libcurl, the framework's client, and the array's client with its
// records.

namespace {

std::size_t Append(char* bytes, std::size_t size, std::size_t count, void* body)
{
    static_cast<std::string*>(body)->append(bytes, size * count);
    return size * count;
}

void BareCurlGet(benchmark::State& state)
{
    const std::string url = LocalArray::Get().LunUrl();
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(), curl_easy_cleanup);
    curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle.get(), CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, Append);
    for (auto _ : state) {
        std::string body;
        curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &body);
        if (curl_easy_perform(handle.get()) != CURLE_OK || body.empty()) {
            state.SkipWithError("no answer");
        }
    }
}
BENCHMARK(BareCurlGet)->UseRealTime();

void FrameworkClientGet(benchmark::State& state)
{
    const auto client = QEN::IHttpClient::CreateClient();
    TMSHttpRequest request;
    request.method = "GET";
    request.url = LocalArray::Get().LunUrl();
    for (auto _ : state) {
        const auto response = client->SendRequest(request, 10);
        if (response == nullptr || !response->IsSuccess()) {
            state.SkipWithError("no answer");
        }
    }
}
BENCHMARK(FrameworkClientGet)->UseRealTime();

void ArrayClientReadsAPageOfLuns(benchmark::State& state)
{
    ZavRestApi api("");
    std::string error;
    if (api.Login(LocalArray::Get().Url(), "admin", "password", error) != 0) {
        state.SkipWithError(error.c_str());
    }
    for (auto _ : state) {
        std::vector<Zav::LunInfo> luns;
        if (api.GetLunListByPage(0, LocalArray::LUNS, luns, error) != 0 || luns.size() != LocalArray::LUNS) {
            state.SkipWithError("no page");
        }
    }
}
BENCHMARK(ArrayClientReadsAPageOfLuns)->UseRealTime();

} // namespace

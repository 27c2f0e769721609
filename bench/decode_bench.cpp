#include "bench/local_array.h"
#include "common/json_text.h"
#include "rest/inventory_json.h"

#include <benchmark/benchmark.h>
#include <json/json.h>

#include <memory>
#include <vector>

// A page of LUNs from its text to records, beside the JSON library's parser alone.

namespace {

void DecodeLunPage(benchmark::State& state)
{
    const std::string& page = LocalArray::Get().LunPage();
    for (auto _ : state) {
        Json::Value root;
        JsonText::Parse(page, root);
        std::vector<Zav::LunInfo> luns;
        for (const Json::Value& element : root["data"]) {
            luns.push_back(InventoryJson::DecodeLun(element));
        }
        benchmark::DoNotOptimize(luns.data());
    }
    state.SetItemsProcessed(state.iterations() * LocalArray::LUNS);
}
BENCHMARK(DecodeLunPage);

void BareParseOfLunPage(benchmark::State& state)
{
    const std::string& page = LocalArray::Get().LunPage();
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    for (auto _ : state) {
        Json::Value root;
        std::string errors;
        reader->parse(page.data(), page.data() + page.size(), &root, &errors);
        benchmark::DoNotOptimize(root);
    }
    state.SetItemsProcessed(state.iterations() * LocalArray::LUNS);
}
BENCHMARK(BareParseOfLunPage);

} // namespace

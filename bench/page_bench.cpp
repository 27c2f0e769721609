#include "bench/curl_memory.h"
#include "bench/other_json.h"
#include "bench/plain_client.h"
#include "bench/stage.h"
#include "bench/topic.h"
#include "rest/inventory_json.h"

#include <json/reader.h>

#include <memory>
#include <vector>

// Pages of 100 LUNs: over the wire, and from their text to records.

namespace {

constexpr int PAGE = 100;

std::string RangeFrom(int first)
{
    return "lun?range=[" + std::to_string(first) + "-" + std::to_string(first + PAGE) + "]";
}

void CheckCount(benchmark::State& state, std::size_t count)
{
    if (count != static_cast<std::size_t>(state.range(0))) {
        state.SkipWithError("LUNs are missing");
    }
}

void ReadPages(benchmark::State& state)
{
    const auto api = Stage::LogIn(Stage::Get().Array());
    std::string error;
    for (auto _ : state) {
        std::size_t count = 0;
        for (int first = 0; first < state.range(0); first += PAGE) {
            std::vector<Zav::LunInfo> luns;
            api->GetLunListByPage(static_cast<std::uint64_t>(first), PAGE, luns, error);
            count += luns.size();
        }
        CheckCount(state, count);
    }
    api->Logout(error);
}

std::uint64_t Number(const Json::Value& element, const char* name)
{
    return std::stoull(element[name].asString());
}

Zav::LunInfo DecodeByHand(const Json::Value& element)
{
    Zav::LunInfo lun;
    lun.id = Number(element, "ID");
    lun.name = element["NAME"].asString();
    lun.wwn = element["WWN"].asString();
    lun.capacity = Number(element, "CAPACITY") * Number(element, "SECTORSIZE");
    lun.healthStatus = static_cast<std::uint32_t>(Number(element, "HEALTHSTATUS"));
    lun.parentId = Number(element, "PARENTID");
    lun.allocationType = static_cast<std::uint32_t>(Number(element, "ALLOCTYPE"));
    return lun;
}

void ReadPagesByHand(benchmark::State& state)
{
    const PlainCurlMemory plain;
    PlainClient client(Stage::Get().Array().Url(), Stage::Get().CertificateAuthority());
    for (auto _ : state) {
        std::size_t count = 0;
        for (int first = 0; first < state.range(0); first += PAGE) {
            std::vector<Zav::LunInfo> luns;
            const Json::Value page = client.GetData(RangeFrom(first));
            for (const Json::Value& element : page) {
                luns.push_back(DecodeByHand(element));
            }
            count += luns.size();
        }
        CheckCount(state, count);
    }
}

/// An answer as the simulated array sends it.
const std::string& Page()
{
    static const std::string page =
        PlainClient(Stage::Get().Array().Url(), Stage::Get().CertificateAuthority()).Get(RangeFrom(0));
    return page;
}

void DecodePage(benchmark::State& state)
{
    const std::string& page = Page();
    ZavRestApi api("");
    for (auto _ : state) {
        Json::Value data;
        std::string error;
        api.ParseRsp(page, data, error);
        std::vector<Zav::LunInfo> luns;
        for (const Json::Value& element : data) {
            luns.push_back(InventoryJson::DecodeLun(element));
        }
        if (luns.size() != PAGE) {
            state.SkipWithError("LUNs are missing");
        }
    }
}

void DecodePageByRapidJson(benchmark::State& state)
{
    for (auto _ : state) {
        if (OtherJson::DecodeByRapidJson(Page()).size() != PAGE) {
            state.SkipWithError("LUNs are missing");
        }
    }
}

void DecodePageBySimdjson(benchmark::State& state)
{
    std::string page = Page();
    for (auto _ : state) {
        if (OtherJson::DecodeBySimdjson(page).size() != PAGE) {
            state.SkipWithError("LUNs are missing");
        }
    }
}

void ParsePage(benchmark::State& state)
{
    const std::string& page = Page();
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    for (auto _ : state) {
        Json::Value root;
        if (!reader->parse(page.data(), page.data() + page.size(), &root, nullptr)) {
            state.SkipWithError("no JSON");
        }
    }
}

} // namespace

Topics PageTopics()
{
    Topic pages = {
        "lun-pages",     "all LUNs, pages of 100, log level 4", "the same by hand with libcurl and JsonCpp", ReadPages,
        ReadPagesByHand, {{Quantity::CPU, 1.05, 100000}}};
    pages.growth = {Growth::Of::Size, "LUNs", {1000, 10000, 100000, Stage::LUNS}, Stage::LUNS};
    pages.repetitions = 5;
    pages.seconds = 0;
    Topic decoding = {"decode-page",
                      "a page of 100 LUNs from its text to records",
                      "JsonCpp's bare parse of it",
                      DecodePage,
                      ParsePage,
                      {{Quantity::CPU, 1.15}}};
    decoding.repetitions = 31;
    decoding.remarks = {{"RapidJSON", DecodePageByRapidJson}, {"simdjson", DecodePageBySimdjson}};
    decoding.conclusion =
        "A decoder on another JSON library, from the text to the records and past JsonCpp, would take this part of its "
        "bare parse. It stays out: JsonCpp's values are part of what the public operations take and give, among them "
        "`ParseRsp` and `SendAndParseRsp`, and nobody would notice: by default the rate guard lets 100 requests a "
        "second "
        "through, so that 1,000 pages wait ten seconds and are decoded in a third of one.";
    return {pages, decoding};
}

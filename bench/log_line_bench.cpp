#include "common/log.h"

#include <benchmark/benchmark.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

// A log line that the level leaves out, and one that is written, beside spdlog's own rotating file.

namespace {

constexpr std::string_view LOG_MODULE = "bench";

void LineBelowTheLevel(benchmark::State& state)
{
    const std::string url = "https://127.0.0.1:8088";
    for (auto _ : state) {
        PS_LOG(1) << "Try to use this Mgmt URL: " << url;
    }
}
BENCHMARK(LineBelowTheLevel);

void LineInTheFile(benchmark::State& state)
{
    const std::string url = "https://127.0.0.1:8088";
    for (auto _ : state) {
        PS_LOG(4) << "Login Zav device failed using this mgmt IP:  " << url;
    }
}
BENCHMARK(LineInTheFile);

void BareSpdlogLineInAFile(benchmark::State& state)
{
    const std::filesystem::path config = std::getenv("PRODUCT_STORAGE_CONFIG");
    const auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
        (config.parent_path() / "bare.log").string(), 10U << 20U, 3U);
    spdlog::logger logger("bare", sink);
    logger.flush_on(spdlog::level::err);
    const std::string url = "https://127.0.0.1:8088";
    for (auto _ : state) {
        logger.error("Login Zav device failed using this mgmt IP:  {}", url);
    }
}
BENCHMARK(BareSpdlogLineInAFile);

} // namespace

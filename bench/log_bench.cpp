#include "bench/stage.h"
#include "bench/topic.h"
#include "common/log.h"

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>
#include <string_view>

// A log line that the level leaves out, and one that is written.

namespace {

constexpr std::string_view LOG_MODULE = "bench";
const std::string URL = "https://127.0.0.1:8088";

void SuppressedLine(benchmark::State& state)
{
    for (auto _ : state) {
        PS_LOG(1) << "Try to use this Mgmt URL: " << URL;
    }
}

void WrittenLine(benchmark::State& state)
{
    for (auto _ : state) {
        PS_LOG(4) << "Login Zav device failed using this mgmt IP:  " << URL;
    }
}

spdlog::logger MakeLogger()
{
    spdlog::logger logger("bare", std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
                                      Stage::Get().Folder() + "/bare.log", std::size_t(16) << 20U, 5U));
    logger.set_level(spdlog::level::err);
    logger.flush_on(spdlog::level::err);
    return logger;
}

void SuppressedBareLine(benchmark::State& state)
{
    spdlog::logger logger = MakeLogger();
    for (auto _ : state) {
        logger.info("Try to use this Mgmt URL: {}", URL);
    }
}

void WrittenBareLine(benchmark::State& state)
{
    spdlog::logger logger = MakeLogger();
    for (auto _ : state) {
        logger.error("Login Zav device failed using this mgmt IP:  {}", URL);
    }
}

} // namespace

Topics LogTopics()
{
    return {{"log-line/suppressed",
             "a log line below the level",
             "spdlog",
             SuppressedLine,
             SuppressedBareLine,
             {{Quantity::WALL, 1.5}}},
            {"log-line/written",
             "a log line that is written",
             "spdlog with flush",
             WrittenLine,
             WrittenBareLine,
             {{Quantity::WALL, 1.2}}}};
}

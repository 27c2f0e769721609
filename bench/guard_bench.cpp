#include "bench/stage.h"
#include "bench/topic.h"

#include <sys/stat.h>

#include <ctime>

#include <mutex>
#include <string>

// The decision of the rate guard, which reads both of its settings each time.

namespace {

void CheckGuard(benchmark::State& state)
{
    ZavRestApi api("");
    for (auto _ : state) {
        benchmark::DoNotOptimize(api.CheckDosAttack());
    }
}

void LookTwice(benchmark::State& state)
{
    const std::string path = Stage::Get().Folder() + "/backupnode.ini";
    std::recursive_mutex lock;
    for (auto _ : state) {
        const std::lock_guard<std::recursive_mutex> guard(lock);
        struct stat file = {};
        benchmark::DoNotOptimize(::stat(path.c_str(), &file));
        benchmark::DoNotOptimize(::stat(path.c_str(), &file));
        benchmark::DoNotOptimize(std::time(nullptr));
    }
}

} // namespace

Topics GuardTopics()
{
    return {{"rate-guard",
             "`CheckDosAttack`, the configuration unchanged",
             "lock, clock, two stats",
             CheckGuard,
             LookTwice,
             {{Quantity::WALL, 1.2}}}};
}

#include "bench/local_array.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"

#include <benchmark/benchmark.h>

#include <map>
#include <mutex>

// A session from the cache, by one thread and by two at once, beside a locked map of shared pointers.

namespace {

Zav::DeviceInfo Device()
{
    Zav::DeviceInfo device;
    device.url = LocalArray::Get().Url();
    device.user = "admin";
    device.password = "password";
    return device;
}

void CachedSession(benchmark::State& state)
{
    const Zav::DeviceInfo device = Device();
    ZavStorageDiskLib& keeper = *ZavStorageDiskLib::GetInstance();
    for (auto _ : state) {
        boost::shared_ptr<ZavRestApi> api;
        std::string error;
        if (keeper.GetLoginedZavRestApi(device, api, error) != 0) {
            state.SkipWithError(error.c_str());
        }
    }
    if (state.thread_index() == 0) {
        keeper.StopCheckThread();
    }
}
BENCHMARK(CachedSession)->Threads(1)->Threads(2)->UseRealTime();

void BareLockedMap(benchmark::State& state)
{
    static std::mutex mutex;
    static std::map<std::string, boost::shared_ptr<ZavRestApi>> sessions;
    const Zav::DeviceInfo device = Device();
    for (auto _ : state) {
        const std::lock_guard<std::mutex> guard(mutex);
        const boost::shared_ptr<ZavRestApi> api = sessions[device.url];
        benchmark::DoNotOptimize(api);
    }
}
BENCHMARK(BareLockedMap)->Threads(1)->Threads(2)->UseRealTime();

} // namespace

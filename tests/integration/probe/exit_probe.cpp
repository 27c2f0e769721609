// exit_probe MICROSECONDS FIFO USER PASSWORD URL...
//
// Logs into each URL, lets the sessions go, says "ready", and waits until somebody opens the FIFO for writing. Then it
// ends itself so long after the session check has begun to log them out. It links the library's code with clocks of its
// own, by which the sessions have been idle for long at the first check.
#include "common/time_source.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iostream>
#include <string>

namespace {

std::atomic<bool> isExpiring = false;
std::atomic<bool> hasBegun = false;
std::promise<void> begun;

} // namespace

namespace TimeSource {

std::int64_t WallSeconds()
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Stands still, and then once takes a leap. The check reads it for each session.
boost::chrono::steady_clock::time_point SteadyNow()
{
    const boost::chrono::steady_clock::time_point begin;
    if (!isExpiring) {
        return begin;
    }
    if (!hasBegun.exchange(true)) {
        begun.set_value();
    }
    return begin + boost::chrono::hours(1);
}

void SleepFor(const boost::chrono::seconds& /*duration*/) {}

} // namespace TimeSource

int main(int argc, char** argv)
{
    constexpr int FIRST_URL = 5;
    if (argc <= FIRST_URL) {
        std::cerr << "exit_probe MICROSECONDS FIFO USER PASSWORD URL...\n";
        return 2;
    }
    const std::chrono::microseconds delay(std::stoll(argv[1]));
    for (int i = FIRST_URL; i < argc; ++i) {
        Zav::DeviceInfo device;
        device.url = argv[i];
        device.user = argv[3];
        device.password = argv[4];
        boost::shared_ptr<ZavRestApi> api;
        std::string errorText;
        if (ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(device, api, errorText) != 0) {
            std::cerr << argv[i] << ": " << errorText << '\n';
            return 1;
        }
    }
    std::cout << "ready" << std::endl;
    const std::ifstream go(argv[2]);
    isExpiring = true;
    begun.get_future().wait();
    const auto end = std::chrono::steady_clock::now() + delay;
    while (std::chrono::steady_clock::now() < end) { // a sleep would round the moment
    }
    return EXIT_SUCCESS;
}

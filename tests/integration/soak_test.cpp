#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"
#include "tests/integration/stage.h"
#include "tests/support/sanitizers.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <thread>
#include <vector>

namespace fs = boost::filesystem;

namespace {

#if defined(SANITIZES_ADDRESSES) || defined(SANITIZES_THREADS)
constexpr long MOST_GROWTH_KIB = 512L * 1024; // a sanitizer holds back what is freed, and looks for leaks itself
constexpr int MOST_SANITIZERS_THREADS = 1;
#else
constexpr long MOST_GROWTH_KIB = 4L * 1024;
constexpr int MOST_SANITIZERS_THREADS = 0;
#endif

/// What the process holds.
struct Holding {
    long kibibytes = 0;
    long descriptors = 0;
    long threads = 0;
};

Holding Now()
{
    Holding holding;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        std::istringstream words(line);
        std::string name;
        words >> name;
        if (name == "VmRSS:") {
            words >> holding.kibibytes;
        } else if (name == "Threads:") {
            words >> holding.threads;
        }
    }
    holding.descriptors = std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    return holding;
}

std::uint64_t Wanted(const char* name, std::uint64_t standard)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? std::stoull(text) : standard;
}

/// A service that goes on for long, on an array that fails now and then. SOAK_REQUESTS and SOAK_INITS say how long.
class SoakTest : public Stage {
protected:
    SoakTest() { Configure({{"BackupNode.DosRequestCount", "100000000"}}); }

    static void Tell(const char* when, const Holding& holding)
    {
        std::cout << when << ": " << holding.kibibytes << " KiB, " << holding.descriptors << " descriptors, "
                  << holding.threads << " threads" << std::endl;
    }

    static void ExpectFlat(const Holding& before, const Holding& after)
    {
        EXPECT_LT(after.kibibytes - before.kibibytes, MOST_GROWTH_KIB);
        EXPECT_LE(after.descriptors, before.descriptors);
        EXPECT_LE(after.threads, before.threads + MOST_SANITIZERS_THREADS);
    }

    static void Disturb(const Array& array, const std::string& probability)
    {
        for (const char* const kind :
             {R"("kind": "code", "code": 1077949006, "description": "busy")", R"("kind": "drop-answer")",
              R"("kind": "garbage")", R"("kind": "reset")", R"("kind": "status", "status": 503)"}) {
            array.AddFault("{" + std::string(kind) + R"(, "count": 0, "probability": )" + probability + "}");
        }
    }
};

TEST_F(SoakTest, RequestsLeaveNothingBehind)
{
    constexpr unsigned int THREADS = 4;
    const std::uint64_t requests = Wanted("SOAK_REQUESTS", 4000);
    const Array& array = StartArray();
    Zav::DeviceInfo device;
    device.url = array.Url();
    device.user = "admin";
    device.password = PASSWORD;
    boost::shared_ptr<ZavRestApi> api;
    std::string errorText;
    ASSERT_EQ(0, ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(device, api, errorText)) << errorText;
    Disturb(array, "0.002");
    std::atomic<std::uint64_t> failures = 0;
    const auto ask = [&](std::uint64_t count) {
        std::vector<std::thread> threads;
        for (unsigned int i = 0; i < THREADS; ++i) {
            threads.emplace_back([&] {
                for (std::uint64_t n = 0; n < count / THREADS; ++n) {
                    std::uint64_t luns = 0;
                    std::string why;
                    failures += api->GetLunCount(luns, why) == 0 ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    };
    ask(std::min<std::uint64_t>(requests / 4, 20000));
    const Holding before = Now();
    ask(requests);
    const Holding after = Now();
    Tell("before", before);
    Tell("after", after);
    std::cout << requests << " requests, " << failures << " failed" << std::endl;
    ExpectFlat(before, after);
    EXPECT_GT(failures, 0U);
    EXPECT_LT(failures, requests / 20);
}

TEST_F(SoakTest, InitialisationsLeaveNothingBehind)
{
    constexpr std::uint64_t FRESH_EVERY = 10;
    const std::uint64_t inits = Wanted("SOAK_INITS", 20);
    ArrayOptions options;
    options.further = {"--session-limit", "100000"};
    const Array& array = StartArray(options);
    StartTargets(array.Options().serviceIps);
    const EnvironmentPath env = EnvironmentOf(array);
    Disturb(array, "0.0002");
    std::uint64_t failures = 0;
    const auto prepare = [&](std::uint64_t count) {
        for (std::uint64_t n = 0; n < count; ++n) {
            if (n % FRESH_EVERY == 0) {
                fs::remove(RecordPath(array)); // all is made anew
            }
            ZavMapInfo info;
            failures += ZavStorageDiskLib::GetInstance()->Init(env, info) ? 0 : 1;
        }
    };
    prepare(std::max<std::uint64_t>(inits / 4, FRESH_EVERY));
    const Holding before = Now();
    prepare(inits);
    const Holding after = Now();
    Tell("before", before);
    Tell("after", after);
    std::cout << inits << " initialisations, " << failures << " failed" << std::endl;
    ExpectFlat(before, after);
    EXPECT_LT(failures, inits / 2);
}

} // namespace

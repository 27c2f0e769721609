#include "bench/scripted_client.h"
#include "common/log.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"

#include <boost/make_shared.hpp>

#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

// Paths through the library that meet no wire, for tools/instruction_counts: it counts what is done within CountedRun.

namespace {

constexpr std::string_view LOG_MODULE = "bench";
constexpr int TIMES = 1000;

using Step = std::function<void()>;

std::string Envelope(const std::string& data)
{
    return R"({"data":)" + data + R"(,"error":{"code":0,"description":"0"}})";
}

/// A page of LUNs with the members, in the order, that zavsim gives them.
std::string LunPage()
{
    constexpr int PAGE = 100;
    std::string luns;
    for (int number = 0; number < PAGE; ++number) {
        const std::string id = std::to_string(number);
        const std::string sixDigits = std::to_string(1000000 + number).substr(1);
        luns += luns.empty() ? "" : ",";
        luns += R"({"ALLOCTYPE":"1","CAPACITY":"4194304","HEALTHSTATUS":"1","ID":")" + id + R"(","NAME":"LUN_)" +
                sixDigits + R"(","PARENTID":"0","RUNNINGSTATUS":"27","SECTORSIZE":"512","TYPE":"11",)" +
                R"("WWN":"6d31003d20ea4f350000000000)" + sixDigits + R"("})";
    }
    return Envelope("[" + luns + "]");
}

void Require(int code, const std::string& error)
{
    if (code != 0) {
        throw std::runtime_error("code " + std::to_string(code) + ": " + error);
    }
}

boost::shared_ptr<ZavRestApi> LogIn(const std::string& answer)
{
    const Script script(answer);
    auto api = boost::make_shared<ZavRestApi>("");
    std::string error;
    Require(api->Login("https://array:8088", "admin", "password", error), error);
    return api;
}

Step SmallGet()
{
    return [api = LogIn(Envelope(R"({"COUNT":"1000"})"))] {
        std::uint64_t count = 0;
        std::string error;
        Require(api->GetLunCount(count, error), error);
    };
}

Step ReadPage()
{
    return [api = LogIn(LunPage())] {
        std::vector<Zav::LunInfo> luns;
        std::string error;
        Require(api->GetLunListByPage(0, 100, luns, error), error);
    };
}

Step TakeCachedSession()
{
    Zav::DeviceInfo device;
    device.url = "https://array:8088";
    const auto take = [device] {
        boost::shared_ptr<ZavRestApi> api;
        std::string error;
        Require(ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(device, api, error), error);
    };
    const Script script("");
    take();
    return take;
}

Step DropLine()
{
    return [] {
        PS_LOG(1) << "Try to use this Mgmt URL: "
                  << "https://array:8088";
    };
}

[[gnu::noinline]] void CountedRun(const Step& step)
{
    for (int time = 0; time < TIMES; ++time) {
        step();
    }
}

} // namespace

// counted_paths NAME: runs one path a thousand times.
int main(int argc, char** argv)
{
    try {
        const std::map<std::string, std::function<Step()>> paths = {{"small-get", SmallGet},
                                                                    {"lun-page", ReadPage},
                                                                    {"cached-session", TakeCachedSession},
                                                                    {"suppressed-line", DropLine}};
        const Step step = paths.at(argc == 2 ? argv[1] : "")();
        step(); // what the first time makes is made once
        CountedRun(step);
        ZavStorageDiskLib::GetInstance()->StopCheckThread();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "counted_paths: " << error.what() << '\n';
        return 1;
    }
}

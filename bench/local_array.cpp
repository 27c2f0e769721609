#include "bench/local_array.h"

#include <httplib.h>

#include <memory>
#include <sstream>
#include <thread>

namespace {

std::string MakeLunPage()
{
    std::ostringstream page;
    page << R"({"data": [)";
    for (int lun = 0; lun < LocalArray::LUNS; ++lun) {
        page << (lun == 0 ? "" : ", ") << R"({"ID": ")" << lun << R"(", "NAME": "lun-)" << lun
             << R"(", "CAPACITY": "41943040", "ALLOCCAPACITY": "1024", "SECTORSIZE": "512", "WWN": "6a0b1c2d3e4f)"
             << lun << R"(", "PARENTID": "0", "PARENTNAME": "pool-0", "HEALTHSTATUS": "1", "RUNNINGSTATUS": "27", )"
             << R"("ALLOCTYPE": "1", "USAGETYPE": "5", "DESCRIPTION": "", "ISADD2LUNGROUP": "true"})";
    }
    page << R"(], "error": {"code": 0, "description": "0"}})";
    return page.str();
}

} // namespace

const LocalArray& LocalArray::Get()
{
    static const LocalArray array;
    return array;
}

LocalArray::LocalArray()
    : m_lunPage(MakeLunPage())
{
    // Both are left to the end of the process, for requests may still be under way.
    static auto& server = *std::make_unique<httplib::Server>().release();
    server.set_keep_alive_max_count(1000000);
    server.set_tcp_nodelay(true);
    server.Post(".*/sessions", [](const httplib::Request&, httplib::Response& response) {
        response.set_header("Set-Cookie", "session=ismsession; Path=/");
        response.set_content(
            R"({"data": {"deviceid": "DEV1", "iBaseToken": "T"}, "error": {"code": 0, "description": "0"}})",
            "application/json");
    });
    server.Get(".*", [this](const httplib::Request&, httplib::Response& response) {
        response.set_content(m_lunPage, "application/json");
    });
    server.Delete(".*", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(R"({"data": {}, "error": {"code": 0, "description": "0"}})", "application/json");
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    std::thread([] { server.listen_after_bind(); }).detach();
    while (!server.is_running()) {
        std::this_thread::yield();
    }
    m_url = "http://127.0.0.1:" + std::to_string(port);
}

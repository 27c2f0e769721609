#include "bench/local_array.h"

#include "tests/support/http_server.h"

#include <memory>
#include <sstream>

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
    // Left to the end of the process, for requests may still be under way.
    static auto& server =
        *std::make_unique<HttpServer>("127.0.0.1", [this](const ServedRequest& request, HttpReply& reply) {
             if (request.method == "POST") {
                 reply.headers.emplace("Set-Cookie", "session=ismsession; Path=/");
                 reply.body =
                     R"({"data": {"deviceid": "DEV1", "iBaseToken": "T"}, "error": {"code": 0, "description": "0"}})";
             } else if (request.method == "GET") {
                 reply.body = m_lunPage;
             } else {
                 reply.body = R"({"data": {}, "error": {"code": 0, "description": "0"}})";
             }
         }).release();
    m_url = "http://127.0.0.1:" + std::to_string(server.Port());
}

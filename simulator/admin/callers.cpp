#include "simulator/admin/callers.h"

#include "base/host_port.h"

#include <algorithm>

namespace ZavSim {

namespace {

// Not by a name that somebody's DNS leads here: a page from there would be of the same origin.
bool IsAskedByItsAddress(const HttpRequest& request)
{
    for (const std::string& host : request.HeaderValues("Host")) {
        const auto parts = Base::SplitHostPort(host);
        if (!parts || (parts->host != "localhost" && !Base::IsNumericAddress(parts->host))) {
            return false;
        }
    }
    return true;
}

bool AllAre(const std::vector<std::string>& values, const std::vector<std::string>& allowed)
{
    return std::all_of(values.begin(), values.end(), [&allowed](const std::string& value) {
        return std::find(allowed.begin(), allowed.end(), value) != allowed.end();
    });
}

// A browser tells from where a request comes that a page makes; other clients tell nothing. The page may have been
// opened by another name of the listener, which IsAskedByItsAddress has looked at.
bool IsFromItself(const HttpRequest& request)
{
    std::vector<std::string> origins{request.listener};
    for (const std::string& host : request.HeaderValues("Host")) {
        origins.push_back(request.listener.substr(0, request.listener.find(':')) + "://" + host);
    }
    return AllAre(request.HeaderValues("Origin"), origins) &&
           AllAre(request.HeaderValues("Sec-Fetch-Site"), {"same-origin", "none"});
}

} // namespace

const char* ObjectionTo(const HttpRequest& request)
{
    if (!Base::IsLoopbackAddress(request.peer)) {
        return "only clients on this machine may steer the simulator";
    }
    if (!IsAskedByItsAddress(request) || !IsFromItself(request)) {
        return "a page of another origin may not steer the simulator";
    }
    return nullptr;
}

} // namespace ZavSim

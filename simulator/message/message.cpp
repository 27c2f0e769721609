#include "simulator/message/message.h"

#include "simulator/json/json_io.h"

#include <strings.h>

namespace ZavSim {

void HttpRequest::ParseBody()
{
    if (!body.empty()) {
        json = ParseJson(body, jsonProblem);
    }
}

std::vector<std::string> HttpRequest::HeaderValues(const std::string& name) const
{
    std::vector<std::string> values;
    for (const auto& [key, value] : headers) {
        if (::strcasecmp(key.c_str(), name.c_str()) == 0) {
            values.push_back(value);
        }
    }
    return values;
}

} // namespace ZavSim

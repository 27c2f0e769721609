#include "simulator/http/message.h"

#include <strings.h>

namespace ZavSim {

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

#include "simulator/http/masking.h"

#include "simulator/http/target.h"

#include <algorithm>
#include <cctype>

namespace ZavSim {

namespace {

constexpr const char* MASK = "***";

bool IsSecretName(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name.find("password") != std::string::npos || name.find("token") != std::string::npos ||
           name.find("cookie") != std::string::npos || name.find("secret") != std::string::npos;
}

void Mask(Json::Value& value)
{
    if (value.isArray()) {
        for (Json::Value& element : value) {
            Mask(element);
        }
    } else if (value.isObject()) {
        for (const std::string& name : value.getMemberNames()) {
            if (IsSecretName(name)) {
                value[name] = MASK;
            } else {
                Mask(value[name]);
            }
        }
    }
}

} // namespace

Json::Value MaskBody(const HttpRequest& request)
{
    if (request.body.empty()) {
        return Json::nullValue;
    }
    if (!request.json) {
        return "(" + std::to_string(request.body.size()) + " bytes that are not JSON)";
    }
    Json::Value masked = *request.json;
    Mask(masked);
    return masked;
}

std::string MaskTarget(const std::string& target)
{
    const std::size_t mark = target.find('?');
    if (mark == std::string::npos) {
        return target;
    }
    std::string masked = target.substr(0, mark);
    char joint = '?';
    for (const std::string& pair : Split(target.substr(mark + 1), '&')) {
        const std::size_t equals = pair.find('=');
        const std::string name = pair.substr(0, equals);
        const bool secret = equals != std::string::npos && IsSecretName(DecodePercent(name).value_or(name));
        masked += joint + (secret ? name + "=" + MASK : pair);
        joint = '&';
    }
    return masked;
}

} // namespace ZavSim

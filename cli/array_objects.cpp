#include "cli/array_objects.h"

#include "base/percent_encoding.h"
#include "cli/failure.h"
#include "common/result_codes.h"
#include "rest/secret_request.h"
#include "rest/zav_rest_api.h"

namespace {

constexpr std::size_t PAGE = 100;

std::string Text(const Json::Value& data, const char* name)
{
    const Json::Value& member = data.isObject() ? data[name] : Json::Value::nullSingleton();
    return member.isConvertibleTo(Json::stringValue) ? member.asString() : std::string();
}

ArrayObject ToObject(const Json::Value& data)
{
    return {Text(data, "ID"), Text(data, "NAME"), Text(data, "PARENTID")};
}

std::vector<std::string> Ids(const Json::Value& list)
{
    std::vector<std::string> ids;
    for (const Json::Value& each : list) {
        ids.push_back(Text(each, "ID"));
    }
    return ids;
}

} // namespace

std::optional<Json::Value> ArrayObjects::Get(const std::string& resource)
{
    SecretRequest request;
    request.method = "GET";
    m_api.BuildBaseRequest(request, resource);
    Json::Value data;
    std::string errorText;
    const int code = m_api.SendAndParseRsp(request, data, errorText, false);
    if (code == ResultCode::FAILED || code == ResultCode::TRANSPORT_ERROR || code == ArrayCode::SESSION_LAPSED ||
        code == ArrayCode::SYSTEM_BUSY) {
        throw Failure(ExitCode::Failed, m_url + ": cannot read " + resource + ": " +
                                            (errorText.empty() ? "no answer that can be read" : errorText));
    }
    if (code != ResultCode::OK) {
        return std::nullopt;
    }
    return data;
}

std::optional<ArrayObject> ArrayObjects::Find(const ObjectKind& kind, const std::string& id)
{
    const auto data = Get(std::string(kind.resource) + "/" + Base::PercentEncode(id));
    return data ? std::optional(ToObject(*data)) : std::nullopt;
}

std::optional<std::vector<std::string>> ArrayObjects::Members(const ObjectKind& container, const std::string& id,
                                                              const ObjectKind& member)
{
    const auto data =
        Get(std::string(member.resource) + "/associate?TYPE=" + std::string(member.type) +
            "&ASSOCIATEOBJTYPE=" + std::string(container.type) + "&ASSOCIATEOBJID=" + Base::PercentEncode(id));
    return data ? std::optional(Ids(*data)) : std::nullopt;
}

std::optional<std::vector<std::string>> ArrayObjects::Initiators(const ObjectKind& kind, const std::string& hostId)
{
    const auto data = Get(std::string(kind.resource) + "?PARENTID=" + Base::PercentEncode(hostId));
    return data ? std::optional(Ids(*data)) : std::nullopt;
}

std::optional<std::vector<ArrayObject>> ArrayObjects::All(const ObjectKind& kind)
{
    std::vector<ArrayObject> objects;
    for (std::size_t begin = 0;; begin += PAGE) {
        const auto page = Get(std::string(kind.resource) + "?range=[" + std::to_string(begin) + "-" +
                              std::to_string(begin + PAGE) + "]");
        if (!page) {
            return std::nullopt;
        }
        for (const Json::Value& each : *page) {
            objects.push_back(ToObject(each));
        }
        if (page->size() < PAGE) {
            return objects;
        }
    }
}

#include "simulator/cluster/cluster_service.h"

#include "base/secret.h"
#include "simulator/cluster/dialects.h"
#include "simulator/http/listen_address.h"

#include <algorithm>

namespace ZavSim {

namespace {

constexpr const char* SESSIONS = "/api/v2/aa/sessions";

std::string PathOf(const HttpRequest& request)
{
    return request.target.substr(0, request.target.find('?'));
}

bool SpeaksV2(const HttpRequest& request)
{
    return request.target.rfind(ClusterService::SESSIONS_PREFIX, 0) == 0;
}

HttpAnswer Failure(const HttpRequest& request, const ClusterRefusal& refusal)
{
    const auto code = static_cast<std::int64_t>(refusal.GetCode());
    return SpeaksV2(request) ? RefuseInV2(code, refusal.what())
                             : RefuseInV1(InfoOf(refusal.GetCode()).v1Result, code, refusal.what());
}

V1Result UsualResult(std::int64_t code)
{
    const auto& codes = AllClusterCodes();
    const auto known = std::find_if(codes.begin(), codes.end(), [code](const ClusterCodeInfo& info) {
        return info.code != ClusterCode::Success && static_cast<std::int64_t>(info.code) == code;
    });
    return known == codes.end() ? V1Result::Details : known->v1Result;
}

std::string RequireText(const Json::Value& body, const char* name)
{
    if (!body.isObject() || !body[name].isString()) {
        throw ClusterRefusal(ClusterCode::ParameterBad,
                             std::string("the body must be a JSON object with ") + name + " as a text");
    }
    return body[name].asString();
}

HttpAnswer Tell(const char* name, const Json::Value& value)
{
    Json::Value data(Json::objectValue);
    data[name] = value;
    return SucceedInV1(data);
}

} // namespace

struct ClusterService::Resource {
    const char* method;
    const char* path;
    HttpAnswer (ClusterService::*operation)(const HttpRequest&, const Session&);
};

const ClusterService::Resource ClusterService::RESOURCES[] = {
    {"DELETE", SESSIONS, &ClusterService::Logout},
    {"GET", "/lumeda/service/v1/version", &ClusterService::QueryVersion},
    {"GET", "/lumeda/service/v1/cluster/sn", &ClusterService::QuerySerial},
    {"GET", "/lumeda/service/v1/productModel", &ClusterService::QueryProductModel},
    {"GET", "/lumeda/service/cluster/managerip/query", &ClusterService::QueryManagementIps},
};

HttpAnswer ClusterService::Handle(const HttpRequest& request)
{
    try {
        return request.method == "POST" && PathOf(request) == SESSIONS ? Login(request) : CallLoggedIn(request);
    } catch (const ClusterRefusal& refusal) {
        return Failure(request, refusal);
    }
}

HttpAnswer ClusterService::Refuse(const HttpRequest& request, const Fault& fault) const
{
    if (SpeaksV2(request)) {
        return RefuseInV2(fault.code, fault.description);
    }
    const V1Result result = fault.result ? static_cast<V1Result>(*fault.result) : UsualResult(fault.code);
    return RefuseInV1(result, fault.code, fault.description);
}

HttpAnswer ClusterService::Login(const HttpRequest& request)
{
    const Json::Value& body = request.json ? *request.json : Json::Value::nullSingleton(); // it holds a password
    std::string password = RequireText(body, "password");
    const Secret::ScopedWipe wipePassword(password);
    const Session session = m_cluster.Login(RequireText(body, "user_name"), password);
    Json::Value data(Json::objectValue);
    data["x_auth_token"] = session.token;
    HttpAnswer answer = SucceedInV2(data);
    answer.session = session.number;
    return answer;
}

HttpAnswer ClusterService::CallLoggedIn(const HttpRequest& request)
{
    const auto tokens = request.HeaderValues("X-Auth-Token");
    const Session session = m_cluster.RequireSession(tokens.empty() ? "" : tokens.front());
    const std::string path = PathOf(request);
    const auto resource = std::find_if(std::begin(RESOURCES), std::end(RESOURCES), [&](const Resource& each) {
        return request.method == each.method && path == each.path;
    });
    HttpAnswer answer =
        resource == std::end(RESOURCES)
            ? Failure(request, ClusterRefusal(ClusterCode::ResourceUnknown, request.method + " " + path))
            : (this->*resource->operation)(request, session);
    answer.session = session.number;
    return answer;
}

HttpAnswer ClusterService::Logout(const HttpRequest& /*request*/, const Session& session)
{
    m_cluster.Sessions().Close(session.number);
    return SucceedInV2(Json::Value());
}

HttpAnswer ClusterService::QueryVersion(const HttpRequest& /*request*/, const Session& /*session*/)
{
    return Tell("version", m_cluster.Shape().version);
}

HttpAnswer ClusterService::QuerySerial(const HttpRequest& /*request*/, const Session& /*session*/)
{
    return Tell("sn", m_cluster.Shape().serial);
}

HttpAnswer ClusterService::QueryProductModel(const HttpRequest& /*request*/, const Session& /*session*/)
{
    return Tell("productModel", m_cluster.Shape().productModel);
}

HttpAnswer ClusterService::QueryManagementIps(const HttpRequest& request, const Session& /*session*/)
{
    const ManagementIps& ips = m_cluster.IpsToldOn(ParseListenAddress(request.listener).host);
    Json::Value external(Json::objectValue);
    const std::pair<const char*, const std::string&> roles[] = {
        {"floatIp", ips.floating}, {"standbyIp", ips.standby}, {"activeIp", ips.active}};
    for (const auto& [name, address] : roles) {
        if (!address.empty()) {
            external[name] = address;
        }
    }
    Json::Value info(Json::objectValue);
    info["externalIpInfo"] = external;
    return Tell("manageIpInfo", info);
}

} // namespace ZavSim

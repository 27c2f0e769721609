#include "simulator/array/parameters.h"

namespace ZavSim {

const Json::Value& RequireObject(const HttpRequest& request)
{
    if (!request.json || !request.json->isObject()) {
        throw Refusal(Code::ParameterBad, "the body is not a JSON object");
    }
    return *request.json;
}

Parameters Parameters::FromBody(const HttpRequest& request)
{
    const Json::Value& object = RequireObject(request);
    std::map<std::string, std::string> values;
    for (const std::string& name : object.getMemberNames()) {
        if (!object[name].isString()) {
            throw Refusal(Code::ParameterBad, name + " must be a text");
        }
        values.emplace(name, object[name].asString());
    }
    return Parameters(std::move(values));
}

std::string Parameters::Get(const std::string& name) const
{
    const auto found = m_values.find(name);
    return found == m_values.end() ? std::string() : found->second;
}

std::string Parameters::Require(const std::string& name) const
{
    const auto found = m_values.find(name);
    if (found == m_values.end() || found->second.empty()) {
        throw Refusal(Code::ParameterBad, name + " is missing");
    }
    return found->second;
}

Kind Parameters::RequireKind(const std::string& name) const
{
    const std::string type = Require(name);
    const auto kind = KindOfType(type);
    if (!kind) {
        throw Refusal(Code::ParameterBad, name + " is not a type code: \"" + type + "\"");
    }
    return *kind;
}

void Parameters::AllowKind(const std::string& name, Kind kind) const
{
    if (m_values.count(name) != 0 && Get(name) != InfoOf(kind).type) {
        throw Refusal(Code::ParameterBad, name + " must be \"" + InfoOf(kind).type + "\", not \"" + Get(name) + "\"");
    }
}

} // namespace ZavSim

#include "tests/integration/array.h"

#include <stdexcept>

namespace {

std::string UrlOf(const ArrayOptions& options, std::size_t managementIp)
{
    return options.protocol + "://" + options.managementIps.at(managementIp) + ":" + std::to_string(Array::PORT);
}

Process::Arguments ArgumentsFor(const ArrayOptions& options)
{
    Process::Arguments arguments = {"--serial", options.serial, "--ca", options.caFolder};
    for (std::size_t i = 0; i < options.managementIps.size(); ++i) {
        arguments.insert(arguments.end(), {"--listen", UrlOf(options, i)});
    }
    for (const std::string& address : options.serviceIps) {
        arguments.insert(arguments.end(), {"--service", address});
    }
    arguments.insert(arguments.end(), options.further.begin(), options.further.end());
    return arguments;
}

} // namespace

Array::Array(const ArrayOptions& options)
    : Simulator(ArgumentsFor(options), UrlOf(options, options.managementIps.size() - 1))
    , m_options(options)
{
}

std::string Array::Url(std::size_t managementIp) const
{
    return UrlOf(m_options, managementIp);
}

std::vector<std::string> Array::Requests() const
{
    std::vector<std::string> requests;
    const std::string prefix = "/deviceManager/rest/";
    for (const JournalEntry& entry : Journal()) {
        const std::size_t resource = entry.target.find('/', prefix.size()) + 1;
        requests.push_back(entry.method + " " + entry.target.substr(resource));
    }
    return requests;
}

Json::Value Array::Objects() const
{
    return Admin("GET", "objects");
}

std::vector<std::string> Array::Ids(const std::string& kind) const
{
    std::vector<std::string> ids;
    const Json::Value objects = Objects();
    for (const Json::Value& object : objects[kind]) {
        ids.push_back(object["id"].asString());
    }
    return ids;
}

Json::Value Array::Object(const std::string& kind, const std::string& id) const
{
    const Json::Value objects = Objects();
    for (const Json::Value& object : objects[kind]) {
        if (object["id"].asString() == id) {
            return object;
        }
    }
    throw std::runtime_error("the array has no " + kind + " " + id);
}

std::vector<std::string> Array::Members(const std::string& kind, const std::string& id, const std::string& member) const
{
    std::vector<std::string> members;
    const Json::Value object = Object(kind, id);
    for (const Json::Value& memberId : object["members"][member]) {
        members.push_back(memberId.asString());
    }
    return members;
}

void Array::DeleteBehindBack(const std::string& kind, const std::string& id) const
{
    Admin("DELETE", "objects/" + kind + "/" + id);
}

void Array::SetListening(std::size_t managementIp, bool isListening) const
{
    Simulator::SetListening(Url(managementIp), isListening);
}

void Array::SetFcPortOnline(const std::string& wwn, bool isOnline) const
{
    Admin("POST", "ports", R"({"wwn": ")" + wwn + R"(", "online": )" + (isOnline ? "true" : "false") + "}");
}

Json::Value Array::Operate(const std::string& method, const std::string& resource, const std::string& body) const
{
    const HttpReply loginAnswer = Exchange("POST", "/deviceManager/rest//sessions",
                                           R"({"username": "admin", "password": "zavsim-admin", "scope": 0})");
    const Json::Value login = ParseJsonText(loginAnswer.body);
    const std::string cookie = loginAnswer.Header("Set-Cookie");
    const Headers headers = {{"iBaseToken", login["data"]["iBaseToken"].asString()},
                             {"Cookie", cookie.substr(0, cookie.find(';'))}};
    const std::string base = "/deviceManager/rest/" + login["data"]["deviceid"].asString() + "/";
    const Json::Value answer = ParseJsonText(Exchange(method, base + resource, body, headers).body);
    if (answer["error"]["code"].asInt64() != 0) {
        throw std::runtime_error(method + " " + resource + ": " + answer["error"]["description"].asString());
    }
    Exchange("DELETE", base + "sessions", {}, headers);
    return answer["data"];
}

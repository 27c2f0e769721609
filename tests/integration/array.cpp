#include "tests/integration/array.h"

#include "tests/integration/stage.h"

#include <httplib.h>

#include <json/reader.h>

#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

Json::Value ParseJson(const std::string& text)
{
    Json::Value value;
    std::string errors;
    std::istringstream stream(text);
    if (!Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &errors)) {
        throw std::runtime_error("not JSON: " + errors + text);
    }
    return value;
}

// Whoever steers the simulator trusts it.
std::unique_ptr<httplib::Client> ClientOf(const std::string& url)
{
    auto client = std::make_unique<httplib::Client>(url);
    client->enable_server_certificate_verification(false);
    return client;
}

httplib::Response Exchange(httplib::Client& client, const std::string& method, const std::string& target,
                           const std::string& body, const httplib::Headers& headers = {})
{
    httplib::Request request;
    request.method = method;
    request.path = target;
    request.headers = headers;
    request.body = body;
    const httplib::Result result = client.send(request);
    if (!result) {
        throw std::runtime_error(method + " " + target + ": " + httplib::to_string(result.error()));
    }
    return *result;
}

} // namespace

Array::Array(const std::string& directory, const ArrayOptions& options)
    : m_options(options)
    , m_adminListener(options.managementIps.size() - 1)
{
    Process::Arguments command = {ProgramPath("zavsim"), "--serial", options.serial, "--ca", options.caFolder};
    for (std::size_t i = 0; i < options.managementIps.size(); ++i) {
        command.insert(command.end(), {"--listen", Url(i)});
    }
    for (const std::string& address : options.serviceIps) {
        command.insert(command.end(), {"--service", address});
    }
    command.insert(command.end(), options.further.begin(), options.further.end());
    m_process = std::make_unique<Process>(directory, command);
    m_process->WaitForLine("zavsim: listening on " + Url(m_adminListener));
}

std::string Array::Url(std::size_t managementIp) const
{
    return m_options.protocol + "://" + m_options.managementIps.at(managementIp) + ":" + std::to_string(PORT);
}

std::vector<JournalEntry> Array::Journal() const
{
    std::vector<JournalEntry> journal;
    const Json::Value answer = Admin("GET", "journal");
    for (const Json::Value& entry : answer["entries"]) {
        if (entry["target"].asString().rfind("/zavsim/", 0) != 0) {
            journal.push_back({entry["method"].asString(), entry["target"].asString(), entry["body"],
                               entry["listener"].asString(), entry["monotonicMs"].asInt64(), entry["code"].asInt64()});
        }
    }
    return journal;
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

void Array::ClearJournal() const
{
    Admin("DELETE", "journal");
}

std::vector<std::string> Array::Ids(const std::string& kind) const
{
    std::vector<std::string> ids;
    const Json::Value objects = Admin("GET", "objects");
    for (const Json::Value& object : objects[kind]) {
        ids.push_back(object["id"].asString());
    }
    return ids;
}

Json::Value Array::Object(const std::string& kind, const std::string& id) const
{
    const Json::Value objects = Admin("GET", "objects");
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
    Admin("POST", "listeners",
          R"({"url": ")" + Url(managementIp) + R"(", "listening": )" + (isListening ? "true" : "false") + "}");
}

void Array::SetFcPortOnline(const std::string& wwn, bool isOnline) const
{
    Admin("POST", "ports", R"({"wwn": ")" + wwn + R"(", "online": )" + (isOnline ? "true" : "false") + "}");
}

void Array::AddFault(const std::string& json) const
{
    Admin("POST", "faults", json);
}

void Array::EndSessions() const
{
    Admin("DELETE", "sessions");
}

std::size_t Array::SessionCount() const
{
    return Admin("GET", "sessions").size();
}

Json::Value Array::Operate(const std::string& method, const std::string& resource, const std::string& body) const
{
    const auto client = ClientOf(Url(m_adminListener));
    const httplib::Response loginAnswer = Exchange(*client, "POST", "/deviceManager/rest//sessions",
                                                   R"({"username": "admin", "password": "zavsim-admin", "scope": 0})");
    const Json::Value login = ParseJson(loginAnswer.body);
    const std::string cookie = loginAnswer.get_header_value("Set-Cookie");
    const httplib::Headers headers = {{"iBaseToken", login["data"]["iBaseToken"].asString()},
                                      {"Cookie", cookie.substr(0, cookie.find(';'))}};
    const std::string base = "/deviceManager/rest/" + login["data"]["deviceid"].asString() + "/";
    const Json::Value answer = ParseJson(Exchange(*client, method, base + resource, body, headers).body);
    if (answer["error"]["code"].asInt64() != 0) {
        throw std::runtime_error(method + " " + resource + ": " + answer["error"]["description"].asString());
    }
    Exchange(*client, "DELETE", base + "sessions", {}, headers);
    return answer["data"];
}

Json::Value Array::Admin(const std::string& method, const std::string& resource, const std::string& body) const
{
    const auto client = ClientOf(Url(m_adminListener));
    const httplib::Response response = Exchange(*client, method, "/zavsim/" + resource, body);
    if (response.status != 200) {
        throw std::runtime_error(method + " /zavsim/" + resource + ": " + response.body);
    }
    return ParseJson(response.body);
}

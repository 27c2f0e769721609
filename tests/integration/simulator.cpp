#include "tests/integration/simulator.h"

#include "tests/integration/stage.h"
#include "tests/support/http_client.h"

#include <json/reader.h>

#include <sstream>
#include <stdexcept>
#include <utility>

Simulator::Simulator(const Process::Arguments& arguments, std::string adminUrl)
    : m_adminUrl(std::move(adminUrl))
{
    Process::Arguments command = {ProgramPath("zavsim")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_process = std::make_unique<Process>(command);
    m_process->AwaitLine("zavsim: listening on " + m_adminUrl);
}

std::vector<JournalEntry> Simulator::Journal() const
{
    std::vector<JournalEntry> journal;
    const Json::Value answer = Admin("GET", "journal");
    for (const Json::Value& entry : answer["entries"]) {
        journal.push_back({entry["method"].asString(), entry["target"].asString(), entry["body"],
                           entry["listener"].asString(), entry["monotonicMs"].asInt64(), entry["code"].asInt64(),
                           entry["encoding"].asString()});
    }
    return journal;
}

void Simulator::ClearJournal() const
{
    Admin("DELETE", "journal");
}

void Simulator::AddFault(const std::string& json) const
{
    Admin("POST", "faults", json);
}

void Simulator::ClearFaults() const
{
    Admin("DELETE", "faults");
}

void Simulator::AwaitFaultsHit() const
{
    WaitUntil("each fault to hit", [this] { return Admin("GET", "faults").empty(); });
}

void Simulator::EndSessions() const
{
    Admin("DELETE", "sessions");
}

std::size_t Simulator::SessionCount() const
{
    return Admin("GET", "sessions").size();
}

void Simulator::SetListening(const std::string& url, bool isListening) const
{
    Admin("POST", "listeners", R"({"url": ")" + url + R"(", "listening": )" + (isListening ? "true" : "false") + "}");
}

Json::Value Simulator::Admin(const std::string& method, const std::string& resource, const std::string& body) const
{
    const HttpReply response = Exchange(method, "/zavsim/" + resource, body);
    if (response.status != 200) {
        throw std::runtime_error(method + " /zavsim/" + resource + ": " + response.body);
    }
    return ParseJsonText(response.body);
}

HttpReply Simulator::Exchange(const std::string& method, const std::string& target, const std::string& body,
                              const Headers& headers) const
{
    HttpReply reply = HttpClient(m_adminUrl).Send(method, target, headers, body);
    if (!reply.isWhole) {
        throw std::runtime_error(method + " " + target + ": " + reply.problem);
    }
    return reply;
}

Json::Value ParseJsonText(const std::string& text)
{
    Json::Value value;
    std::string errors;
    std::istringstream stream(text);
    if (!Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &errors)) {
        throw std::runtime_error("not JSON: " + errors + text);
    }
    return value;
}

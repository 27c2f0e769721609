#include "simulator/admin/admin_service.h"

#include "base/host_port.h"
#include "simulator/array/operations.h"
#include "simulator/array/records.h"
#include "simulator/json/json_io.h"

#include <stdexcept>

namespace ZavSim {

namespace {

constexpr int BAD_REQUEST = 400;
constexpr int FORBIDDEN = 403;
constexpr int NOT_FOUND = 404;
constexpr int CONFLICT = 409;

class AdminError : public std::runtime_error {
public:
    AdminError(int status, const std::string& text)
        : std::runtime_error(text)
        , m_status(status)
    {
    }
    int Status() const noexcept { return m_status; }

private:
    int m_status;
};

HttpAnswer JsonAnswer(int status, const Json::Value& value)
{
    HttpAnswer answer;
    answer.status = status;
    answer.body = WriteJson(value) + "\n";
    return answer;
}

HttpAnswer ErrorAnswer(int status, const std::string& text)
{
    Json::Value value(Json::objectValue);
    value["error"] = text;
    return JsonAnswer(status, value);
}

void AppendSessions(Json::Value& list, const char* system, SessionTable& sessions)
{
    for (const auto& standing : sessions.List()) {
        Json::Value entry(Json::objectValue);
        entry["system"] = system;
        entry["session"] = Json::UInt64(standing.number);
        entry["user"] = standing.user;
        entry["idleSeconds"] = Json::Int64(standing.idle.count());
        list.append(entry);
    }
}

Json::Value Done()
{
    return Json::Value(Json::objectValue);
}

std::uint64_t RequireNumber(const std::string& text, const char* what)
{
    const auto number = ParseNumber(text);
    if (!number) {
        throw AdminError(BAD_REQUEST, std::string(what) + " is not a number: \"" + text + "\"");
    }
    return *number;
}

const Json::Value& RequireMember(const Json::Value& body, const char* name, Json::ValueType type)
{
    if (!body.isObject() || body[name].type() != type) {
        throw AdminError(BAD_REQUEST, std::string("the body must be a JSON object with ") + name + " as a " +
                                          (type == Json::booleanValue ? "boolean" : "text"));
    }
    return body[name];
}

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

// A browser tells from where a request comes that a page makes; other clients tell nothing.
bool IsFromItself(const HttpRequest& request)
{
    for (const std::string& origin : request.HeaderValues("Origin")) {
        if (origin != request.listener) {
            return false;
        }
    }
    return true;
}

} // namespace

struct AdminService::Resource {
    const char* method;
    const char* word;
    std::size_t pieces; ///< behind the word
    Json::Value (AdminService::*operation)(const Call&);
};

const AdminService::Resource AdminService::RESOURCES[] = {
    {"GET", "journal", 0, &AdminService::ReadJournal},
    {"DELETE", "journal", 0, &AdminService::ClearJournal},
    {"GET", "objects", 0, &AdminService::ReadObjects},
    {"DELETE", "objects", 2, &AdminService::DeleteObjectBehindBack},
    {"GET", "faults", 0, &AdminService::ReadFaults},
    {"POST", "faults", 0, &AdminService::AddFault},
    {"DELETE", "faults", 0, &AdminService::ClearFaults},
    {"DELETE", "faults", 1, &AdminService::RemoveFault},
    {"GET", "listeners", 0, &AdminService::ReadListeners},
    {"POST", "listeners", 0, &AdminService::SwitchListener},
    {"POST", "ports", 0, &AdminService::SwitchPort},
    {"GET", "sessions", 0, &AdminService::ReadSessions},
    {"DELETE", "sessions", 0, &AdminService::EndSessions},
};

HttpAnswer AdminService::Handle(const HttpRequest& request)
{
    if (!Base::IsLoopbackAddress(request.peer)) {
        return ErrorAnswer(FORBIDDEN, "only clients on this machine may steer the simulator");
    }
    if (!IsAskedByItsAddress(request) || !IsFromItself(request)) {
        return ErrorAnswer(FORBIDDEN, "a page of another origin may not steer the simulator");
    }
    try {
        const auto target = ParseTarget(request.target);
        if (!target) {
            throw AdminError(BAD_REQUEST, "a percent sign in the address is not followed by two digits");
        }
        Call call{request.method, *target, Json::Value()};
        if (!request.jsonProblem.empty()) {
            throw AdminError(BAD_REQUEST, "the body is not JSON: " + request.jsonProblem);
        }
        call.body = request.json.value_or(Json::Value());
        return JsonAnswer(200, Dispatch(call));
    } catch (const AdminError& error) {
        return ErrorAnswer(error.Status(), error.what());
    } catch (const Refusal& refusal) {
        return ErrorAnswer(CONFLICT, refusal.what());
    } catch (const std::invalid_argument& error) {
        return ErrorAnswer(BAD_REQUEST, error.what());
    }
}

HttpAnswer AdminService::Refuse(const HttpRequest& /*request*/, const Fault& fault) const
{
    return ErrorAnswer(CONFLICT, std::to_string(fault.code) + " " + fault.description);
}

Json::Value AdminService::Dispatch(const Call& call)
{
    const auto& pieces = call.target.pieces; // "zavsim", the word, the rest
    for (const Resource& resource : RESOURCES) {
        if (call.method == resource.method && pieces.size() == resource.pieces + 2 && pieces[1] == resource.word) {
            return (this->*resource.operation)(call);
        }
    }
    throw AdminError(NOT_FOUND, "the simulator has no such resource or method");
}

Json::Value AdminService::ReadJournal(const Call& call)
{
    const auto since = call.target.query.find("since");
    return m_journal.Since(since == call.target.query.end() ? 0 : RequireNumber(since->second, "since"));
}

Json::Value AdminService::ClearJournal(const Call&)
{
    m_journal.Clear();
    return Done();
}

Json::Value AdminService::ReadObjects(const Call&)
{
    return m_array.Look(&DumpObjects);
}

Json::Value AdminService::DeleteObjectBehindBack(const Call& call)
{
    const auto kind = KindOfResource(call.target.pieces[2]);
    if (!kind) {
        throw AdminError(NOT_FOUND, "there is no kind \"" + call.target.pieces[2] + "\"");
    }
    const std::string id = CanonicalId(*kind, call.target.pieces[3]);
    m_array.Change([&](State& state) {
        if (!state.Has(*kind, id)) {
            throw AdminError(NOT_FOUND, "there is no " + Naming(*kind, id));
        }
        state.Remove(*kind, id);
    });
    return Done();
}

Json::Value AdminService::ReadFaults(const Call&)
{
    return m_faults.List();
}

Json::Value AdminService::AddFault(const Call& call)
{
    Json::Value answer(Json::objectValue);
    answer["number"] = Json::UInt64(m_faults.Add(FaultFromJson(call.body)));
    return answer;
}

Json::Value AdminService::RemoveFault(const Call& call)
{
    const std::string& number = call.target.pieces[2];
    if (!m_faults.Remove(RequireNumber(number, "the fault's number"))) {
        throw AdminError(NOT_FOUND, "there is no fault " + number);
    }
    return Done();
}

Json::Value AdminService::ClearFaults(const Call&)
{
    m_faults.Clear();
    return Done();
}

Json::Value AdminService::ReadListeners(const Call&)
{
    Json::Value list(Json::arrayValue);
    for (const auto& listener : m_listeners.All()) {
        Json::Value entry(Json::objectValue);
        entry["url"] = listener->Url();
        entry["listening"] = listener->IsListening();
        list.append(entry);
    }
    return list;
}

Json::Value AdminService::SwitchListener(const Call& call)
{
    const std::string url = RequireMember(call.body, "url", Json::stringValue).asString();
    const bool listening = RequireMember(call.body, "listening", Json::booleanValue).asBool();
    Listener* const listener = m_listeners.Find(url);
    if (listener == nullptr) {
        throw AdminError(NOT_FOUND, "there is no listener " + url);
    }
    if (!listening) {
        listener->Stop();
        return Done();
    }
    try {
        listener->Start();
    } catch (const std::exception& error) {
        throw AdminError(CONFLICT, error.what());
    }
    return Done();
}

Json::Value AdminService::SwitchPort(const Call& call)
{
    const std::string wwn = RequireMember(call.body, "wwn", Json::stringValue).asString();
    const bool online = RequireMember(call.body, "online", Json::booleanValue).asBool();
    m_array.Change([&](State& state) { SetPortOnline(state, wwn, online); });
    return Done();
}

Json::Value AdminService::ReadSessions(const Call&)
{
    Json::Value list(Json::arrayValue);
    AppendSessions(list, "array", m_array.Sessions());
    AppendSessions(list, "cluster", m_cluster.Sessions());
    return list;
}

Json::Value AdminService::EndSessions(const Call&)
{
    m_array.Sessions().CloseAll();
    m_cluster.Sessions().CloseAll();
    return Done();
}

} // namespace ZavSim

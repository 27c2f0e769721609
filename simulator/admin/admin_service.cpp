#include "simulator/admin/admin_service.h"

#include "simulator/admin/callers.h"
#include "simulator/array/operations.h"
#include "simulator/array/records.h"
#include "simulator/cluster/cluster_codes.h"
#include "simulator/faults/fault_kinds.h"
#include "simulator/json/json_io.h"

#include <limits>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr int BAD_REQUEST = 400;
constexpr int FORBIDDEN = 403;
constexpr int NOT_FOUND = 404;
constexpr int CONFLICT = 409;
constexpr int UNAVAILABLE = 503;

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

Json::Value TextList(const std::vector<std::string>& texts)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& text : texts) {
        list.append(text);
    }
    return list;
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

Kind RequireKind(const std::string& resource)
{
    const auto kind = KindOfResource(resource);
    if (!kind) {
        throw AdminError(NOT_FOUND, "there is no kind \"" + resource + "\"");
    }
    return *kind;
}

void RequireThere(const State& state, Kind kind, const std::string& id)
{
    if (!state.Has(kind, id)) {
        throw AdminError(NOT_FOUND, "there is no " + Naming(kind, id));
    }
}

std::uint64_t NumberOf(const Target& target, const char* name, std::uint64_t otherwise)
{
    const auto found = target.query.find(name);
    return found == target.query.end() ? otherwise : RequireNumber(found->second, name);
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
    {"GET", "objects", 2, &AdminService::ReadObject},
    {"DELETE", "objects", 2, &AdminService::DeleteObjectBehindBack},
    {"GET", "inventory", 0, &AdminService::ReadInventory},
    {"GET", "faults", 0, &AdminService::ReadFaults},
    {"GET", "fault-kinds", 0, &AdminService::ReadFaultKinds},
    {"POST", "faults", 0, &AdminService::AddFault},
    {"DELETE", "faults", 0, &AdminService::ClearFaults},
    {"DELETE", "faults", 1, &AdminService::RemoveFault},
    {"GET", "codes", 0, &AdminService::ReadCodes},
    {"GET", "listeners", 0, &AdminService::ReadListeners},
    {"POST", "listeners", 0, &AdminService::SwitchListener},
    {"POST", "ports", 0, &AdminService::SwitchPort},
    {"GET", "sessions", 0, &AdminService::ReadSessions},
    {"DELETE", "sessions", 0, &AdminService::EndSessions},
};

HttpAnswer AdminService::Handle(const HttpRequest& request)
{
    const char* const objection = ObjectionTo(request);
    if (objection != nullptr) {
        return ErrorAnswer(FORBIDDEN, objection);
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
        if (call.method == "GET" && target->pieces == std::vector<std::string>{"zavsim", "events"}) {
            return Watch();
        }
        HttpAnswer answer = JsonAnswer(200, Dispatch(call));
        if (call.method != "GET") {
            m_journal.Events().Publish("steered", Json::objectValue);
        }
        return answer;
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

HttpAnswer AdminService::Watch()
{
    HttpAnswer answer;
    answer.events = m_journal.Events().Subscribe();
    if (!answer.events) {
        throw AdminError(UNAVAILABLE, std::to_string(EventFeed::MOST_READERS) + " clients read the events already");
    }
    answer.contentType = "text/event-stream";
    answer.headers = {{"Cache-Control", "no-store"}};
    Json::Value hello(Json::objectValue);
    hello["run"] = m_run;
    answer.events->Push(EventText("hello", hello)); // so that a client sees at once that it is heard
    return answer;
}

Json::Value AdminService::ReadJournal(const Call& call)
{
    constexpr std::uint64_t ALL = std::numeric_limits<std::size_t>::max();
    return m_journal.Since(NumberOf(call.target, "since", 0), NumberOf(call.target, "last", ALL));
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

Json::Value AdminService::ReadObject(const Call& call)
{
    const Kind kind = RequireKind(call.target.pieces[2]);
    const std::string id = CanonicalId(kind, call.target.pieces[3]);
    return m_array.Look([&](const State& state) {
        RequireThere(state, kind, id);
        return RecordOf(state, m_array.GetInventory(), kind, id);
    });
}

Json::Value AdminService::ReadInventory(const Call&)
{
    const Inventory& inventory = m_array.GetInventory();
    Json::Value answer(Json::objectValue);
    answer["system"] = inventory.SystemRecord();
    answer["pools"] = inventory.PoolRecords();
    answer["ports"] = inventory.PortRecords(PortSelection::All);
    return answer;
}

Json::Value AdminService::DeleteObjectBehindBack(const Call& call)
{
    const Kind kind = RequireKind(call.target.pieces[2]);
    const std::string id = CanonicalId(kind, call.target.pieces[3]);
    m_array.Change([&](State& state) {
        RequireThere(state, kind, id);
        state.Remove(kind, id);
    });
    return Done();
}

Json::Value AdminService::ReadFaults(const Call&)
{
    return m_faults.List();
}

Json::Value AdminService::ReadFaultKinds(const Call&)
{
    Json::Value list(Json::arrayValue);
    for (const FaultKind& kind : AllFaultKinds()) {
        Json::Value entry(Json::objectValue);
        entry["kind"] = kind.word;
        entry["meaning"] = kind.meaning;
        entry["needs"] = TextList(kind.needs);
        entry["takes"] = TextList(kind.takes);
        list.append(entry);
    }
    return list;
}

Json::Value AdminService::ReadCodes(const Call&)
{
    Json::Value names(Json::objectValue);
    for (const CodeInfo& info : AllCodes()) {
        names["array"][std::to_string(static_cast<std::int64_t>(info.code))] = info.name;
    }
    for (const ClusterCodeInfo& info : AllClusterCodes()) {
        names["cluster"][std::to_string(static_cast<std::int64_t>(info.code))] = info.name;
    }
    return names;
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

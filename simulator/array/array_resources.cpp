#include "simulator/array/array_resources.h"

#include "simulator/array/operations.h"
#include "simulator/array/records.h"
#include "simulator/http/target.h"

namespace ZavSim {

namespace {

constexpr std::uint64_t STANDARD_PAGE = 100;
constexpr std::uint64_t WIDEST_PAGE = 100000;

Kind KindOf(const ResourceCall& call)
{
    return *KindOfResource(call.pieces.front());
}

Json::Value NullIfEmpty(Json::Value list)
{
    return list.empty() ? Json::Value() : list;
}

Json::Value CloseSession(const ResourceCall& call)
{
    call.array.Sessions().Close(call.session);
    return {};
}

Json::Value QuerySystem(const ResourceCall& call)
{
    return call.array.GetInventory().SystemRecord();
}

Json::Value QueryPools(const ResourceCall& call)
{
    return call.array.GetInventory().PoolRecords();
}

Json::Value QueryPorts(const ResourceCall& call)
{
    const std::string selectType = call.parameters.Get("selectType");
    const std::string logicType = call.parameters.Get("LOGICTYPE");
    if (selectType.empty() && logicType.empty()) {
        return call.array.GetInventory().PortRecords(PortSelection::All);
    }
    if (selectType == "2" && (logicType.empty() || logicType == "2")) {
        return call.array.GetInventory().PortRecords(PortSelection::Management);
    }
    if (selectType.empty() && (logicType == "0" || logicType == "2")) {
        return call.array.GetInventory().PortRecords(logicType == "0" ? PortSelection::Service
                                                                      : PortSelection::Management);
    }
    throw Refusal(Code::ParameterBad, "selectType can be 2, LOGICTYPE 0 or 2");
}

Json::Value CountLuns(const ResourceCall& call)
{
    Json::Value data(Json::objectValue);
    data["COUNT"] = std::to_string(call.array.Look([](const State& state) { return state.LunCount(); }));
    return data;
}

/// "[a-b]": from a up to but without b.
std::pair<std::uint64_t, std::uint64_t> ParseRange(const std::string& range)
{
    const bool bracketed = range.size() > 2 && range.front() == '[' && range.back() == ']';
    const auto ends = Split(bracketed ? range.substr(1, range.size() - 2) : "", '-');
    const auto begin = ParseNumber(ends.front());
    const auto end = ParseNumber(ends.back());
    if (ends.size() != 2 || !begin || !end || *begin > *end) {
        throw Refusal(Code::ParameterBad, "range must be [a-b] with a not above b, not " + range);
    }
    if (*end - *begin > WIDEST_PAGE) {
        throw Refusal(Code::PageTooWide, range + " is wider than " + std::to_string(WIDEST_PAGE));
    }
    return {*begin, *end};
}

std::pair<std::uint64_t, std::uint64_t> PageOf(const ResourceCall& call)
{
    const std::string range = call.parameters.Get("range");
    return range.empty() ? std::pair<std::uint64_t, std::uint64_t>(0, STANDARD_PAGE) : ParseRange(range);
}

Json::Value QueryLunPage(const ResourceCall& call)
{
    const auto [begin, end] = PageOf(call);
    const auto luns =
        call.array.Look([first = begin, last = end](const State& state) { return state.LunsAt(first, last); });
    Json::Value list(Json::arrayValue);
    for (const std::uint64_t lun : luns) {
        list.append(call.array.GetInventory().LunRecord(lun));
    }
    return list;
}

/// A page of the objects of a kind that clients make.
Json::Value QueryPage(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    const auto [begin, end] = PageOf(call);
    return call.array.Look([&, first = begin, last = end](const State& state) {
        Json::Value list(Json::arrayValue);
        std::uint64_t place = 0;
        for (const auto& object : state.ObjectsOf(kind)) {
            if (place >= first && place < last) {
                list.append(RecordOf(state, call.array.GetInventory(), kind, object.first));
            }
            ++place;
        }
        return list;
    });
}

Json::Value QueryOne(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    const std::string id = CanonicalId(kind, call.pieces.back());
    return call.array.Look([&](const State& state) {
        RequireObject(state, kind, id);
        return RecordOf(state, call.array.GetInventory(), kind, id);
    });
}

/// All initiators of the kind, or those of the host PARENTID.
Json::Value QueryInitiators(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    const std::string host = call.parameters.Get("PARENTID");
    return call.array.Look([&](const State& state) {
        Json::Value list(Json::arrayValue);
        for (const auto& initiator : state.ObjectsOf(kind)) {
            if (host.empty() || state.IsLinked(Kind::Host, host, kind, initiator.first)) {
                list.append(RecordOf(state, call.array.GetInventory(), kind, initiator.first));
            }
        }
        return NullIfEmpty(list);
    });
}

// The associations of an object with those of one kind, whichever of both holds the other.
Json::Value QueryAssociated(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    call.parameters.AllowKind("TYPE", kind);
    const Kind other = call.parameters.RequireKind("ASSOCIATEOBJTYPE");
    const std::string otherId = call.parameters.Require("ASSOCIATEOBJID");
    const bool isHolder = FindRule(kind, other) != nullptr;
    return call.array.Look([&](const State& state) {
        Json::Value list(Json::arrayValue);
        for (const std::string& id :
             isHolder ? Holders(state, other, otherId, kind) : Members(state, other, otherId, kind)) {
            list.append(RecordOf(state, call.array.GetInventory(), kind, id));
        }
        return NullIfEmpty(list);
    });
}

Json::Value Create(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    if (kind == Kind::Lun) {
        throw Refusal(Code::ResourceUnknown, "LUNs are given by the simulator's options, they cannot be made");
    }
    call.parameters.AllowKind("TYPE", kind);
    Json::Value record;
    call.array.Change([&](State& state) {
        std::string id;
        if (IsInitiator(kind)) {
            id = CanonicalId(kind, call.parameters.Require("ID"));
            RegisterInitiator(state, kind, id);
        } else {
            const std::string parent = kind == Kind::Snapshot ? call.parameters.Require("PARENTID") : "";
            id = CreateObject(state, kind, call.parameters.Require("NAME"), parent);
        }
        record = RecordOf(state, call.array.GetInventory(), kind, id);
    });
    return record;
}

Json::Value Delete(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    if (kind == Kind::Lun || kind == Kind::Snapshot || IsInitiator(kind)) {
        throw Refusal(Code::ResourceUnknown, std::string("a ") + InfoOf(kind).words + " cannot be deleted");
    }
    call.array.Change([&](State& state) { DeleteObject(state, kind, call.pieces.back()); });
    return {};
}

/// Joins or parts the container ID and the member ASSOCIATEOBJID.
void ChangeMembership(const ResourceCall& call, Kind container,
                      void (*change)(State&, Kind, const std::string&, Kind, const std::string&))
{
    call.parameters.AllowKind("TYPE", container);
    const std::string containerId = call.parameters.Require("ID");
    const Kind member = call.parameters.RequireKind("ASSOCIATEOBJTYPE");
    const std::string memberId = call.parameters.Require("ASSOCIATEOBJID");
    call.array.Change([&](State& state) { change(state, container, containerId, member, memberId); });
}

template <Kind container>
Json::Value Join(const ResourceCall& call)
{
    ChangeMembership(call, container, &Associate);
    return {};
}

template <Kind container>
Json::Value Part(const ResourceCall& call)
{
    ChangeMembership(call, container, &Dissociate);
    return {};
}

Json::Value AddToHost(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    call.parameters.AllowKind("TYPE", kind);
    call.parameters.AllowKind("PARENTTYPE", Kind::Host);
    const std::string id = CanonicalId(kind, call.parameters.Require("ID"));
    const std::string host = call.parameters.Require("PARENTID");
    call.array.Change([&](State& state) { Associate(state, Kind::Host, host, kind, id); });
    return {};
}

Json::Value TakeFromHost(const ResourceCall& call)
{
    const Kind kind = KindOf(call);
    call.parameters.AllowKind("TYPE", kind);
    const std::string id = CanonicalId(kind, call.parameters.Require("ID"));
    call.array.Change([&](State& state) { RemoveFromHost(state, kind, id); });
    return {};
}

struct Resource {
    const char* method;
    const char* path; ///< "<kind>" stands for any kind's word, "<id>" for any text
    Json::Value (*operation)(const ResourceCall&);
};

// The first that fits counts, so the fixed words stand before the placeholders.
constexpr Resource RESOURCES[] = {
    {"DELETE", "sessions", &CloseSession},
    {"GET", "system/", &QuerySystem},
    {"GET", "system", &QuerySystem},
    {"GET", "storagepool", &QueryPools},
    {"GET", "eth_port", &QueryPorts},
    {"GET", "lun", &QueryLunPage},
    {"GET", "lun/count", &CountLuns},
    {"GET", "iscsi_initiator", &QueryInitiators},
    {"GET", "fc_initiator", &QueryInitiators},
    {"GET", "<kind>", &QueryPage},
    {"GET", "<kind>/associate", &QueryAssociated},
    {"GET", "<kind>/<id>", &QueryOne},
    {"POST", "host/associate", &Join<Kind::HostGroup>},
    {"POST", "lungroup/associate", &Join<Kind::LunGroup>},
    {"POST", "<kind>", &Create},
    {"PUT", "mappingview/CREATE_ASSOCIATE", &Join<Kind::MappingView>},
    {"PUT", "mappingview/REMOVE_ASSOCIATE", &Part<Kind::MappingView>},
    {"PUT", "iscsi_initiator/add_iscsi_to_host", &AddToHost},
    {"PUT", "iscsi_initiator/remove_iscsi_from_host", &TakeFromHost},
    {"PUT", "fc_initiator/add_fc_to_host", &AddToHost},
    {"PUT", "fc_initiator/remove_fc_from_host", &TakeFromHost},
    {"DELETE", "host/associate", &Part<Kind::HostGroup>},
    {"DELETE", "lungroup/associate", &Part<Kind::LunGroup>},
    {"DELETE", "<kind>/<id>", &Delete},
};

bool Fits(const std::string& pattern, const std::string& piece)
{
    if (pattern == "<kind>") {
        return KindOfResource(piece).has_value();
    }
    return pattern == "<id>" ? !piece.empty() : pattern == piece;
}

bool Fits(const Resource& resource, const ResourceCall& call)
{
    const auto pattern = Split(resource.path, '/');
    if (call.method != resource.method || pattern.size() != call.pieces.size()) {
        return false;
    }
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (!Fits(pattern[i], call.pieces[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

Json::Value CallResource(const ResourceCall& call)
{
    for (const Resource& resource : RESOURCES) {
        if (Fits(resource, call)) {
            return resource.operation(call);
        }
    }
    std::string path;
    for (const std::string& piece : call.pieces) {
        path += (path.empty() ? "" : "/") + piece;
    }
    throw Refusal(Code::ResourceUnknown, call.method + " " + path);
}

} // namespace ZavSim

#include "simulator/array/records.h"

namespace ZavSim {

namespace {

constexpr const char* ONLINE = "27";
constexpr const char* OFFLINE = "28";

bool IsOnline(const State& state, Kind kind, const std::string& id)
{
    return kind == Kind::FcInitiator && state.OnlinePorts().count(id) != 0;
}

void DescribeInitiator(const State& state, Kind kind, const std::string& id, Json::Value& record)
{
    const IdSet& hosts = state.ContainersOf(kind, id, Kind::Host);
    record["PARENTID"] = hosts.empty() ? "" : *hosts.begin();
    record["PARENTTYPE"] = hosts.empty() ? "" : InfoOf(Kind::Host).type;
    record["RUNNINGSTATUS"] = IsOnline(state, kind, id) ? ONLINE : OFFLINE;
}

void DumpLinks(const State& state, Kind kind, const std::string& id, Json::Value& entry)
{
    for (const AssociationRule& rule : AllAssociationRules()) {
        if (rule.container == kind) {
            for (const std::string& member : state.MembersOf(kind, id, rule.member)) {
                entry["members"][InfoOf(rule.member).resource].append(member);
            }
        }
        if (rule.member == kind) {
            for (const std::string& container : state.ContainersOf(kind, id, rule.container)) {
                entry["memberOf"][InfoOf(rule.container).resource].append(container);
            }
        }
    }
}

} // namespace

Json::Value RecordOf(const State& state, const Inventory& inventory, Kind kind, const std::string& id)
{
    if (kind == Kind::Lun) {
        return inventory.LunRecord(*ParseNumber(id));
    }
    const Object& object = *state.Find(kind, id);
    Json::Value record(Json::objectValue);
    record["ID"] = id;
    record["TYPE"] = InfoOf(kind).type;
    record["NAME"] = object.name;
    if (IsInitiator(kind)) {
        DescribeInitiator(state, kind, id, record);
    } else if (kind == Kind::Host) {
        record["ISADD2HOSTGROUP"] = state.ContainersOf(kind, id, Kind::HostGroup).empty() ? "false" : "true";
    } else if (kind == Kind::Snapshot) {
        record["PARENTID"] = object.parent;
        record["PARENTTYPE"] = InfoOf(Kind::Lun).type;
    }
    return record;
}

Json::Value DumpObjects(const State& state)
{
    Json::Value dump(Json::objectValue);
    for (const KindInfo& info : AllKinds()) {
        if (info.kind == Kind::Lun) {
            continue;
        }
        Json::Value& list = dump[info.resource] = Json::arrayValue;
        for (const auto& [id, object] : state.ObjectsOf(info.kind)) {
            Json::Value entry(Json::objectValue);
            entry["id"] = id;
            entry["name"] = object.name;
            if (info.kind == Kind::Snapshot) {
                entry["lun"] = object.parent;
            }
            if (info.kind == Kind::FcInitiator) {
                entry["online"] = IsOnline(state, info.kind, id);
            }
            DumpLinks(state, info.kind, id, entry);
            list.append(entry);
        }
    }
    Json::Value& luns = dump[InfoOf(Kind::Lun).resource] = Json::objectValue;
    luns["count"] = Json::UInt64(state.LunCount());
    luns["deleted"] = Json::arrayValue;
    for (const std::uint64_t lun : state.DeletedLuns()) {
        luns["deleted"].append(std::to_string(lun));
    }
    dump["onlinePorts"] = Json::arrayValue;
    for (const std::string& wwn : state.OnlinePorts()) {
        dump["onlinePorts"].append(wwn);
    }
    return dump;
}

} // namespace ZavSim

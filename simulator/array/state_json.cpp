#include "simulator/array/state_json.h"

#include "simulator/array/operations.h"

#include <stdexcept>

namespace ZavSim {

namespace {

constexpr int FORMAT = 1;

[[noreturn]] void Reject(const std::string& where, const std::string& what)
{
    throw std::runtime_error(where + ": " + what);
}

const Json::Value& RequireMember(const Json::Value& parent, const std::string& where, const char* name,
                                 Json::ValueType type)
{
    if (!parent.isObject() || !parent.isMember(name)) {
        Reject(where + name, "missing");
    }
    const Json::Value& value = parent[name];
    // Numbers come back as signed or unsigned after their size; isUInt64 decides for them.
    const bool fits = type == Json::uintValue ? value.isUInt64() : value.type() == type;
    if (!fits) {
        Reject(where + name, "of the wrong type");
    }
    return value;
}

std::string RequireText(const Json::Value& value, const std::string& where)
{
    if (!value.isString()) {
        Reject(where, "not a text");
    }
    return value.asString();
}

Kind RequireKind(const std::string& resource, const std::string& where)
{
    const auto kind = KindOfResource(resource);
    if (!kind) {
        Reject(where, "unknown kind \"" + resource + "\"");
    }
    return *kind;
}

Json::Value ObjectsToJson(const State& state)
{
    Json::Value all(Json::objectValue);
    for (const KindInfo& info : AllKinds()) {
        for (const auto& [id, object] : state.ObjectsOf(info.kind)) {
            Json::Value& entry = all[info.resource][id];
            entry["name"] = object.name;
            if (!object.parent.empty()) {
                entry["parent"] = object.parent;
            }
        }
    }
    return all;
}

Json::Value AssociationsToJson(const State& state)
{
    Json::Value all(Json::arrayValue);
    for (const AssociationRule& rule : AllAssociationRules()) {
        for (const auto& container : state.ObjectsOf(rule.container)) {
            for (const std::string& member : state.MembersOf(rule.container, container.first, rule.member)) {
                Json::Value entry(Json::objectValue);
                entry["container"] = InfoOf(rule.container).resource;
                entry["containerId"] = container.first;
                entry["member"] = InfoOf(rule.member).resource;
                entry["memberId"] = member;
                all.append(entry);
            }
        }
    }
    return all;
}

void ReadObject(State& state, Kind kind, const std::string& id, const Json::Value& entry, const std::string& where)
{
    Object object;
    object.name = RequireMember(entry, where + ".", "name", Json::stringValue).asString();
    if (kind == Kind::Snapshot) {
        object.parent = RequireMember(entry, where + ".", "parent", Json::stringValue).asString();
        if (!state.Has(Kind::Lun, object.parent)) {
            Reject(where + ".parent", "this array has no LUN " + object.parent);
        }
    }
    const auto number = ParseNumber(id);
    const auto lastId = state.LastIds().find(kind);
    if (!IsInitiator(kind) && (!number || lastId == state.LastIds().end() || *number > lastId->second)) {
        Reject(where, "its id was never given out");
    }
    if (!object.name.empty() && state.IsNameTaken(kind, object.name)) {
        Reject(where + ".name", "used twice");
    }
    state.Add(kind, id, object);
}

void ReadObjects(State& state, const Json::Value& all)
{
    for (const std::string& resource : all.getMemberNames()) {
        const Kind kind = RequireKind(resource, "objects");
        if (kind == Kind::Lun || !all[resource].isObject()) {
            Reject("objects." + resource, "not objects of a kind that is recorded");
        }
        for (const std::string& id : all[resource].getMemberNames()) {
            ReadObject(state, kind, id, all[resource][id], "objects." + resource + "." + id);
        }
    }
}

void ReadAssociations(State& state, const Json::Value& all)
{
    for (Json::ArrayIndex i = 0; i < all.size(); ++i) {
        const std::string where = "associations[" + std::to_string(i) + "]";
        const auto text = [&](const char* name) {
            return RequireMember(all[i], where + ".", name, Json::stringValue).asString();
        };
        try {
            Associate(state, RequireKind(text("container"), where), text("containerId"),
                      RequireKind(text("member"), where), text("memberId"));
        } catch (const Refusal& refusal) {
            Reject(where, refusal.what());
        }
    }
}

} // namespace

Json::Value StateToJson(const State& state, const std::string& serial)
{
    Json::Value root(Json::objectValue);
    root["format"] = FORMAT;
    root["serial"] = serial;
    root["lastIds"] = Json::objectValue;
    for (const auto& [kind, id] : state.LastIds()) {
        root["lastIds"][InfoOf(kind).resource] = Json::UInt64(id);
    }
    root["deletedLuns"] = Json::arrayValue;
    for (const std::uint64_t lun : state.DeletedLuns()) {
        root["deletedLuns"].append(std::to_string(lun));
    }
    root["objects"] = ObjectsToJson(state);
    root["associations"] = AssociationsToJson(state);
    root["onlinePorts"] = Json::arrayValue;
    for (const std::string& wwn : state.OnlinePorts()) {
        root["onlinePorts"].append(wwn);
    }
    return root;
}

State StateFromJson(const Json::Value& root, const std::string& serial, std::uint64_t lunCount)
{
    State state(lunCount);
    if (RequireMember(root, "", "format", Json::uintValue).asUInt64() != FORMAT) {
        Reject("format", "not " + std::to_string(FORMAT));
    }
    const std::string owner = RequireMember(root, "", "serial", Json::stringValue).asString();
    if (owner != serial) {
        Reject("serial", "the state of array " + owner + ", not of " + serial);
    }
    const Json::Value& lastIds = RequireMember(root, "", "lastIds", Json::objectValue);
    for (const std::string& resource : lastIds.getMemberNames()) {
        const Json::Value& id = RequireMember(lastIds, "lastIds.", resource.c_str(), Json::uintValue);
        state.SetLastId(RequireKind(resource, "lastIds"), id.asUInt64());
    }
    for (const Json::Value& value : RequireMember(root, "", "deletedLuns", Json::arrayValue)) {
        const std::string lun = RequireText(value, "deletedLuns");
        if (!state.Has(Kind::Lun, lun)) {
            Reject("deletedLuns", "this array has no LUN " + lun);
        }
        state.Remove(Kind::Lun, lun);
    }
    ReadObjects(state, RequireMember(root, "", "objects", Json::objectValue));
    ReadAssociations(state, RequireMember(root, "", "associations", Json::arrayValue));
    for (const Json::Value& value : RequireMember(root, "", "onlinePorts", Json::arrayValue)) {
        try {
            SetPortOnline(state, RequireText(value, "onlinePorts"), true);
        } catch (const Refusal& refusal) {
            Reject("onlinePorts", refusal.what());
        }
    }
    return state;
}

} // namespace ZavSim

#include "framework/san/handlers.h"

namespace Framework {

namespace {

std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

std::string Named(const char* operation, const ObjectKind& kind, const std::string& name)
{
    return std::string(operation) + " " + kind.name + " " + Quoted(name);
}

// A member of an answer's data as text; empty when it is missing or has no text.
std::string Text(const Json::Value& data, const char* name)
{
    const Json::Value& member = data.isObject() ? data[name] : Json::Value::nullSingleton();
    return member.isConvertibleTo(Json::stringValue) ? member.asString() : std::string();
}

// The id of an answer's data, without which the answer is worth nothing.
std::string Id(const std::string& what, const Json::Value& data)
{
    std::string id = Text(data, "ID");
    if (id.empty()) {
        throw ArrayError(what + " failed: the array's answer names no id");
    }
    return id;
}

Json::Value Get(ArraySession& session, const std::string& what, const ObjectKind& kind, const std::string& id)
{
    return session.Call(what, "GET", std::string(kind.resource) + "/" + PercentEncode(id));
}

template <typename Record>
Record ToNamed(const std::string& what, const Json::Value& data)
{
    Record record;
    record.id = Id(what, data);
    record.name = Text(data, "NAME");
    return record;
}

template <typename Record>
Record ToInitiator(const std::string& what, const Json::Value& data)
{
    auto record = ToNamed<Record>(what, data);
    record.parentId = Text(data, "PARENTID");
    return record;
}

} // namespace

template <typename Record, typename Base>
Record NamedHandler<Record, Base>::Create(const Record& record)
{
    const std::string what = Named("create", m_kind, record.name);
    return ToNamed<Record>(
        what, m_session.Call(what, "POST", m_kind.resource, {{"NAME", record.name}, {"TYPE", m_kind.type}}));
}

template <typename Record, typename Base>
Record NamedHandler<Record, Base>::Query(const std::string& id)
{
    const std::string what = Named("query", m_kind, id);
    return ToNamed<Record>(what, Get(m_session, what, m_kind, id));
}

void HostGroupHandler::AddHost(const std::string& hostId, const std::string& hostGroupId)
{
    Session().Call("add host " + Quoted(hostId) + " to host group " + Quoted(hostGroupId), "POST", "host/associate",
                   {{"TYPE", Kind::HOST_GROUP.type},
                    {"ID", hostGroupId},
                    {"ASSOCIATEOBJTYPE", Kind::HOST.type},
                    {"ASSOCIATEOBJID", hostId}});
}

void MappingViewHandler::Add(const ObjectKind& memberKind, const std::string& mapViewId, const std::string& memberId)
{
    Session().Call(Named("add", memberKind, memberId) + " to mapping view " + Quoted(mapViewId), "PUT",
                   "mappingview/CREATE_ASSOCIATE",
                   {{"TYPE", Kind::MAPPING_VIEW.type},
                    {"ID", mapViewId},
                    {"ASSOCIATEOBJTYPE", memberKind.type},
                    {"ASSOCIATEOBJID", memberId}});
}

void MappingViewHandler::AddHostGroup(const std::string& mapViewId, const std::string& hostGroupId)
{
    Add(Kind::HOST_GROUP, mapViewId, hostGroupId);
}

void MappingViewHandler::AddLunGroup(const std::string& mapViewId, const std::string& lunGroupId)
{
    Add(Kind::LUN_GROUP, mapViewId, lunGroupId);
}

template <typename Record>
Record InitiatorHandler<Record>::Create(const Record& record)
{
    const std::string what = Named("create", m_kind, record.id);
    try {
        return ToInitiator<Record>(
            what, m_session.Call(what, "POST", m_kind.resource, {{"ID", record.id}, {"TYPE", m_kind.type}}));
    } catch (const ArrayRefusal&) {
        try {
            return Query(record.id);
        } catch (const ArrayError&) {
            // It is not there either: what counts is why it could not be created.
        }
        throw;
    }
}

template <typename Record>
Record InitiatorHandler<Record>::Query(const std::string& id)
{
    const std::string what = Named("query", m_kind, id);
    return ToInitiator<Record>(what, Get(m_session, what, m_kind, id));
}

template <typename Record>
void InitiatorHandler<Record>::AddToHost(const Record& initiator, const std::string& hostId)
{
    m_session.Call(
        Named("add", m_kind, initiator.id) + " to host " + Quoted(hostId), "PUT", m_addResource,
        {{"TYPE", m_kind.type}, {"ID", initiator.id}, {"PARENTTYPE", Kind::HOST.type}, {"PARENTID", hostId}});
}

template class NamedHandler<LunGroupMO, CLunGroupHandler>;
template class NamedHandler<HostMO, CHostHandler>;
template class NamedHandler<HostGroupMO, CHostGroupHandler>;
template class NamedHandler<MappingViewMO, CMappingViewHandler>;
template class InitiatorHandler<IscsiInitiatorMO>;
template class InitiatorHandler<FCInitiatorMO>;

} // namespace Framework

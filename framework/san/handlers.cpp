#include "framework/san/handlers.h"

#include "base/percent_encoding.h"
#include "framework/san/settle.h"
#include "framework/support/log_line.h"

#include <algorithm>
#include <exception>

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
        throw ArrayUnsettled(what + " failed: the array's answer names no id");
    }
    return id;
}

Json::Value Get(ArraySession& session, const std::string& what, const ObjectKind& kind, const std::string& id)
{
    return session.Call(what, "GET", std::string(kind.resource) + "/" + Base::PercentEncode(id));
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

// Whether the container has the member, as the array lists it.
bool HasMember(ArraySession& session, const ObjectKind& container, const std::string& containerId,
               const ObjectKind& member, const std::string& memberId)
{
    const Json::Value list =
        session.Call(Named("list members of", container, containerId), "GET",
                     std::string(member.resource) + "/associate?TYPE=" + member.type +
                         "&ASSOCIATEOBJTYPE=" + container.type + "&ASSOCIATEOBJID=" + Base::PercentEncode(containerId));
    return std::any_of(list.begin(), list.end(), [&](const Json::Value& each) { return Text(each, "ID") == memberId; });
}

// Settles an association, whose `send` returns nothing.
template <typename Send, typename IsThere>
void Associate(ArraySession& session, const Send& send, const IsThere& isThere)
{
    struct Nothing {};
    Settle(
        session, AfterRefusal::Look,
        [&send] {
            send();
            return Nothing();
        },
        [&isThere] { return isThere() ? std::optional(Nothing()) : std::nullopt; });
}

// A journal that cannot be kept does not stop provisioning, as a record that cannot be written does not.
template <typename Note>
void Enter(const Note& note)
{
    try {
        note();
    } catch (const std::exception& error) {
        FRAMEWORK_LOG(Warning) << "The journal of what is made on arrays is not kept: " << error.what();
    }
}

// Whether this node set out to make such an object before, and does not know what became of it.
bool IsIntended(const OpenFramework::SanJournal& journal, const OpenFramework::JournalEntry& entry)
{
    const auto standing = journal.Standing(entry.device);
    return std::any_of(standing.begin(), standing.end(), [&entry](const OpenFramework::JournalEntry& each) {
        return each.kind == entry.kind && each.name == entry.name && each.id.empty();
    });
}

} // namespace

template <typename Record, typename Base>
Record NamedHandler<Record, Base>::Create(const Record& record)
{
    const std::string what = Named("create", m_kind, record.name);
    OpenFramework::JournalEntry entry = {m_session.DeviceId(), m_kind.name, record.name, {}};
    std::optional<ArrayUnsettled> doubt;
    Enter([&] {
        if (IsIntended(m_journal, entry)) {
            doubt.emplace(what + " failed: what became of it before is not known");
        }
        m_journal.Intend(entry);
    });
    const auto send = [&] {
        return ToNamed<Record>(
            what, m_session.Call(what, "POST", m_kind.resource, {{"NAME", record.name}, {"TYPE", m_kind.type}}));
    };
    try {
        auto made = Settle(
            m_session, AfterRefusal::GiveUp, send, [&] { return Find(record.name); }, doubt);
        entry.id = made.id;
        Enter([&] { m_journal.Made(entry); });
        return made;
    } catch (const ArrayUnsettled&) {
        throw; // it may be there: the intent stands
    } catch (const ArrayError&) {
        Enter([&] { m_journal.Drop(entry); });
        throw;
    }
}

// The object of that name, in the array's list of the kind, page by page.
template <typename Record, typename Base>
std::optional<Record> NamedHandler<Record, Base>::Find(const std::string& name)
{
    constexpr std::size_t PAGE = 100;
    const std::string what = Named("look for", m_kind, name);
    std::string lastFirst; // of the page before
    for (std::size_t begin = 0;; begin += PAGE) {
        const Json::Value page = m_session.Call(what, "GET",
                                                std::string(m_kind.resource) + "?range=[" + std::to_string(begin) +
                                                    "-" + std::to_string(begin + PAGE) + "]");
        for (const Json::Value& each : page) {
            if (Text(each, "NAME") == name) {
                return ToNamed<Record>(what, each);
            }
        }
        if (page.size() < PAGE) {
            return std::nullopt;
        }
        const std::string first = Text(*page.begin(), "ID");
        if (first == lastFirst) {
            throw ArrayError(what + " failed: the array gives the same page of its list again and again");
        }
        lastFirst = first;
    }
}

template <typename Record, typename Base>
Record NamedHandler<Record, Base>::Query(const std::string& id)
{
    const std::string what = Named("query", m_kind, id);
    return ToNamed<Record>(what, Get(m_session, what, m_kind, id));
}

void HostGroupHandler::AddHost(const std::string& hostId, const std::string& hostGroupId)
{
    const std::string what = "add host " + Quoted(hostId) + " to host group " + Quoted(hostGroupId);
    const auto send = [&] {
        Session().Call(what, "POST", "host/associate",
                       {{"TYPE", Kind::HOST_GROUP.type},
                        {"ID", hostGroupId},
                        {"ASSOCIATEOBJTYPE", Kind::HOST.type},
                        {"ASSOCIATEOBJID", hostId}});
    };
    Associate(Session(), send, [&] { return HasMember(Session(), Kind::HOST_GROUP, hostGroupId, Kind::HOST, hostId); });
}

void MappingViewHandler::Add(const ObjectKind& memberKind, const std::string& mapViewId, const std::string& memberId)
{
    const std::string what = Named("add", memberKind, memberId) + " to mapping view " + Quoted(mapViewId);
    const auto send = [&] {
        Session().Call(what, "PUT", "mappingview/CREATE_ASSOCIATE",
                       {{"TYPE", Kind::MAPPING_VIEW.type},
                        {"ID", mapViewId},
                        {"ASSOCIATEOBJTYPE", memberKind.type},
                        {"ASSOCIATEOBJID", memberId}});
    };
    Associate(Session(), send,
              [&] { return HasMember(Session(), Kind::MAPPING_VIEW, mapViewId, memberKind, memberId); });
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
    const auto send = [&] {
        return ToInitiator<Record>(
            what, m_session.Call(what, "POST", m_kind.resource, {{"ID", record.id}, {"TYPE", m_kind.type}}));
    };
    return Settle(m_session, AfterRefusal::Look, send, [&] { return Find(record.id); });
}

// None where the array refuses to tell of it: that is how it says that it is not there.
template <typename Record>
std::optional<Record> InitiatorHandler<Record>::Find(const std::string& id)
{
    try {
        return Query(id);
    } catch (const ArrayRefusal&) {
        return std::nullopt;
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
    const std::string what = Named("add", m_kind, initiator.id) + " to host " + Quoted(hostId);
    const auto send = [&] {
        m_session.Call(
            what, "PUT", m_addResource,
            {{"TYPE", m_kind.type}, {"ID", initiator.id}, {"PARENTTYPE", Kind::HOST.type}, {"PARENTID", hostId}});
    };
    Associate(m_session, send, [&] {
        const std::optional<Record> known = Find(initiator.id);
        return known && known->parentId == hostId;
    });
}

template class NamedHandler<LunGroupMO, CLunGroupHandler>;
template class NamedHandler<HostMO, CHostHandler>;
template class NamedHandler<HostGroupMO, CHostGroupHandler>;
template class NamedHandler<MappingViewMO, CMappingViewHandler>;
template class InitiatorHandler<IscsiInitiatorMO>;
template class InitiatorHandler<FCInitiatorMO>;

} // namespace Framework

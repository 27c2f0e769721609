#include "simulator/array/operations.h"

#include <algorithm>
#include <cctype>

namespace ZavSim {

namespace {

constexpr std::size_t MAX_NAME_BYTES = 255;
constexpr std::size_t MAX_ISCSI_NAME_BYTES = 223;
constexpr std::size_t WWN_DIGITS = 16;

bool HasControlCharacter(const std::string& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; });
}

bool IsIscsiName(const std::string& text)
{
    const bool known = text.rfind("iqn.", 0) == 0 || text.rfind("eui.", 0) == 0 || text.rfind("naa.", 0) == 0;
    return known && text.size() <= MAX_ISCSI_NAME_BYTES && text.find(' ') == std::string::npos &&
           !HasControlCharacter(text);
}

void RequireName(const State& state, Kind kind, const std::string& name)
{
    if (name.empty() || name.size() > MAX_NAME_BYTES || HasControlCharacter(name)) {
        throw Refusal(Code::ParameterBad, "NAME of a " + std::string(InfoOf(kind).words) +
                                              " must be 1 to 255 bytes without control characters");
    }
    if (state.IsNameTaken(kind, name)) {
        throw Refusal(Code::NameTaken, Naming(kind, "\"" + name + "\""));
    }
}

const AssociationRule& RequireRule(Kind container, Kind member)
{
    const AssociationRule* const rule = FindRule(container, member);
    if (rule == nullptr) {
        throw Refusal(Code::ParameterBad,
                      std::string("a ") + InfoOf(container).words + " cannot hold a " + InfoOf(member).words);
    }
    return *rule;
}

std::string NamingPair(const AssociationRule& rule, const std::string& containerId, const std::string& memberId)
{
    return Naming(rule.member, memberId) + ", " + Naming(rule.container, containerId);
}

} // namespace

bool IsPortName(const std::string& text)
{
    return text.size() == WWN_DIGITS && std::all_of(text.begin(), text.end(), [](char c) {
               return std::isxdigit(static_cast<unsigned char>(c)) != 0;
           });
}

std::string CanonicalId(Kind kind, const std::string& id)
{
    if (kind != Kind::FcInitiator) {
        return id;
    }
    std::string folded = id;
    std::transform(folded.begin(), folded.end(), folded.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return folded;
}

void RequireObject(const State& state, Kind kind, const std::string& id)
{
    if (!state.Has(kind, id)) {
        throw Refusal(InfoOf(kind).gone, Naming(kind, id));
    }
}

std::string CreateObject(State& state, Kind kind, const std::string& name, const std::string& parent)
{
    RequireName(state, kind, name);
    Object object{name, ""};
    if (kind == Kind::Snapshot) {
        RequireObject(state, Kind::Lun, parent);
        object.parent = parent;
    }
    std::string id = state.NextId(kind);
    state.Add(kind, id, object);
    return id;
}

void RegisterInitiator(State& state, Kind kind, const std::string& id)
{
    if (!(kind == Kind::FcInitiator ? IsPortName(id) : IsIscsiName(id))) {
        throw Refusal(Code::ParameterBad, kind == Kind::FcInitiator
                                              ? "ID of an FC initiator must be 16 hexadecimal digits"
                                              : "ID of an iSCSI initiator must be an iqn., eui. or naa. name");
    }
    if (state.Has(kind, id)) {
        throw Refusal(Code::InitiatorExists, Naming(kind, id));
    }
    state.Add(kind, id, Object{});
}

void DeleteObject(State& state, Kind kind, const std::string& id)
{
    RequireObject(state, kind, id);
    for (const AssociationRule& rule : AllAssociationRules()) {
        if (rule.member == kind && rule.memberInUse && !state.ContainersOf(kind, id, rule.container).empty()) {
            throw Refusal(*rule.memberInUse, Naming(kind, id));
        }
    }
    for (const AssociationRule& rule : AllAssociationRules()) {
        if (rule.container == kind && !state.MembersOf(kind, id, rule.member).empty()) {
            throw Refusal(rule.containerInUse, Naming(kind, id));
        }
    }
    state.Remove(kind, id);
}

void Associate(State& state, Kind container, const std::string& containerId, Kind member, const std::string& memberId)
{
    const AssociationRule& rule = RequireRule(container, member);
    RequireObject(state, container, containerId);
    RequireObject(state, member, memberId);
    if (state.IsLinked(container, containerId, member, memberId)) {
        throw Refusal(rule.alreadyAssociated, NamingPair(rule, containerId, memberId));
    }
    if (rule.containerFull && !state.MembersOf(container, containerId, member).empty()) {
        throw Refusal(*rule.containerFull, Naming(container, containerId));
    }
    if (rule.memberTaken && !state.ContainersOf(member, memberId, container).empty()) {
        throw Refusal(*rule.memberTaken, Naming(member, memberId));
    }
    state.Link(container, containerId, member, memberId);
}

void Dissociate(State& state, Kind container, const std::string& containerId, Kind member, const std::string& memberId)
{
    const AssociationRule& rule = RequireRule(container, member);
    RequireObject(state, container, containerId);
    if (!state.IsLinked(container, containerId, member, memberId)) {
        if (!rule.goneMemberIsNotAssociated) {
            RequireObject(state, member, memberId);
        }
        throw Refusal(rule.notAssociated, NamingPair(rule, containerId, memberId));
    }
    state.Unlink(container, containerId, member, memberId);
}

void RemoveFromHost(State& state, Kind initiator, const std::string& id)
{
    const AssociationRule& rule = RequireRule(Kind::Host, initiator);
    const IdSet& hosts = state.ContainersOf(initiator, id, Kind::Host);
    if (hosts.empty()) {
        throw Refusal(rule.notAssociated, Naming(initiator, id));
    }
    const std::string host = *hosts.begin(); // a copy: the set goes with its last member
    state.Unlink(Kind::Host, host, initiator, id);
}

const IdSet& Members(const State& state, Kind container, const std::string& containerId, Kind member)
{
    RequireRule(container, member);
    RequireObject(state, container, containerId);
    return state.MembersOf(container, containerId, member);
}

const IdSet& Holders(const State& state, Kind member, const std::string& memberId, Kind container)
{
    RequireRule(container, member);
    RequireObject(state, member, memberId);
    return state.ContainersOf(member, memberId, container);
}

void SetPortOnline(State& state, const std::string& wwn, bool online)
{
    if (!IsPortName(wwn)) {
        throw Refusal(Code::ParameterBad, "an FC port name must be 16 hexadecimal digits, not \"" + wwn + "\"");
    }
    state.SetPortOnline(CanonicalId(Kind::FcInitiator, wwn), online);
}

} // namespace ZavSim

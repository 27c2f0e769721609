#include "simulator/array/kinds.h"

#include <algorithm>

namespace ZavSim {

const std::vector<KindInfo>& AllKinds()
{
    static const std::vector<KindInfo> KINDS{
        {Kind::Lun, "lun", "11", "LUN", Code::LunGone},
        {Kind::HostGroup, "hostgroup", "14", "host group", Code::HostGroupGone},
        {Kind::Host, "host", "21", "host", Code::HostGone},
        {Kind::Snapshot, "snapshot", "27", "snapshot", Code::SnapshotGone},
        {Kind::IscsiInitiator, "iscsi_initiator", "222", "iSCSI initiator", Code::InitiatorGone},
        {Kind::FcInitiator, "fc_initiator", "223", "FC initiator", Code::InitiatorGone},
        {Kind::MappingView, "mappingview", "245", "mapping view", Code::MappingViewGone},
        {Kind::LunGroup, "lungroup", "256", "LUN group", Code::LunGroupGone},
    };
    return KINDS;
}

namespace {

template <typename Predicate>
const KindInfo* FindKind(Predicate matches)
{
    const auto& kinds = AllKinds();
    const auto found = std::find_if(kinds.begin(), kinds.end(), matches);
    return found == kinds.end() ? nullptr : &*found;
}

} // namespace

const KindInfo& InfoOf(Kind kind)
{
    return *FindKind([kind](const KindInfo& info) { return info.kind == kind; });
}

std::optional<Kind> KindOfResource(const std::string& resource)
{
    const KindInfo* const info = FindKind([&](const KindInfo& each) { return resource == each.resource; });
    return info == nullptr ? std::nullopt : std::optional(info->kind);
}

std::optional<Kind> KindOfType(const std::string& type)
{
    const KindInfo* const info = FindKind([&](const KindInfo& each) { return type == each.type; });
    return info == nullptr ? std::nullopt : std::optional(info->kind);
}

std::string Naming(Kind kind, const std::string& id)
{
    return std::string(InfoOf(kind).words) + " " + id;
}

const std::vector<AssociationRule>& AllAssociationRules()
{
    // A host may be in several host groups, a LUN in several LUN groups, and a group in several mapping views.
    static const std::vector<AssociationRule> RULES{
        {Kind::HostGroup, Kind::Host, Code::HostNotInHostGroup, Code::AlreadyAssociated, std::nullopt, std::nullopt,
         Code::HostGroupNotEmpty, Code::HostInHostGroup, false},
        {Kind::LunGroup, Kind::Lun, Code::NotInLunGroup, Code::AlreadyAssociated, std::nullopt, std::nullopt,
         Code::LunGroupNotEmpty, std::nullopt, true},
        {Kind::LunGroup, Kind::Snapshot, Code::NotInLunGroup, Code::AlreadyAssociated, std::nullopt, std::nullopt,
         Code::LunGroupNotEmpty, std::nullopt, true},
        {Kind::MappingView, Kind::HostGroup, Code::HostGroupNotInMappingView, Code::AlreadyAssociated,
         Code::MappingViewHasHostGroup, std::nullopt, Code::MappingViewNotEmpty, Code::HostGroupMapped, false},
        {Kind::MappingView, Kind::LunGroup, Code::LunGroupNotInMappingView, Code::AlreadyAssociated,
         Code::MappingViewHasLunGroup, std::nullopt, Code::MappingViewNotEmpty, Code::LunGroupMapped, false},
        {Kind::Host, Kind::IscsiInitiator, Code::InitiatorNotOnHost, Code::InitiatorHasHost, std::nullopt,
         Code::InitiatorHasHost, Code::HostHasInitiators, std::nullopt, true},
        {Kind::Host, Kind::FcInitiator, Code::InitiatorNotOnHost, Code::InitiatorHasHost, std::nullopt,
         Code::InitiatorHasHost, Code::HostHasInitiators, std::nullopt, true},
    };
    return RULES;
}

const AssociationRule* FindRule(Kind container, Kind member)
{
    const auto& rules = AllAssociationRules();
    const auto found = std::find_if(rules.begin(), rules.end(), [=](const AssociationRule& rule) {
        return rule.container == container && rule.member == member;
    });
    return found == rules.end() ? nullptr : &*found;
}

} // namespace ZavSim

#ifndef ZAVSIM_ARRAY_KINDS_H
#define ZAVSIM_ARRAY_KINDS_H

#include "simulator/array/codes.h"

#include <optional>
#include <string>
#include <vector>

namespace ZavSim {

enum class Kind { Lun, HostGroup, Host, Snapshot, IscsiInitiator, FcInitiator, MappingView, LunGroup };

struct KindInfo {
    Kind kind;
    const char* resource; ///< first piece of its path, "hostgroup"
    const char* type;     ///< the array's type code, "14"
    const char* words;    ///< for messages, "host group"
    Code gone;            ///< answer when no object has the id
};

const std::vector<KindInfo>& AllKinds();
const KindInfo& InfoOf(Kind kind);
std::optional<Kind> KindOfResource(const std::string& resource);
std::optional<Kind> KindOfType(const std::string& type);

/// "host group 7", for messages.
std::string Naming(Kind kind, const std::string& id);

constexpr bool IsInitiator(Kind kind) noexcept
{
    return kind == Kind::IscsiInitiator || kind == Kind::FcInitiator;
}

/// Which objects may be joined, what bounds that, and how the array answers at the bounds. Without a code there is no
/// bound.
struct AssociationRule {
    Kind container;
    Kind member;
    Code notAssociated;
    Code alreadyAssociated;
    std::optional<Code> containerFull; ///< the container holds one member of this kind at most
    std::optional<Code> memberTaken;   ///< the member is in one container of this kind at most
    Code containerInUse;               ///< why a container that still has such a member cannot be deleted
    std::optional<Code> memberInUse;   ///< why a member that still is in such a container cannot be deleted
    bool goneMemberIsNotAssociated;    ///< taking out a member that no longer exists answers notAssociated
};

const std::vector<AssociationRule>& AllAssociationRules();

/// The rule for the pair; null when such objects cannot be joined.
const AssociationRule* FindRule(Kind container, Kind member);

} // namespace ZavSim

#endif

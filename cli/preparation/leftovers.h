#ifndef PRODUCT_STORAGE_CLI_PREPARATION_LEFTOVERS_H
#define PRODUCT_STORAGE_CLI_PREPARATION_LEFTOVERS_H

#include "cli/array/array_login.h"
#include "cli/array/array_objects.h"
#include "cli/node/node_initiators.h"
#include "cli/record/own_journal.h"
#include "common/records.h"

#include <memory>
#include <string>
#include <vector>

/// What this node made on an array, as its journal tells, and what its record does not name: left by runs that were cut
/// off, or by one that made all anew.
class Leftovers {
public:
    /// One of them, which stands on the array under the journal's name.
    struct Object {
        const ObjectKind* kind;
        std::string id;
        std::string name;
        std::vector<std::string> inUse; ///< why it is not taken apart unasked: "holds LUN 3"

        /// "host 1 (its name)".
        std::string Naming() const { return kind->Naming(id) + " (" + name + ")"; }
    };

    enum class Gone {
        Forgotten, ///< what the array does not have any more leaves the journal
        Kept,      ///< nothing is changed
    };

    /// Looks on the array for what the journal names. `login` must outlive it. Throws Failure when array or journal
    /// cannot be read. Where another provider than the open one is linked, there is no journal, and nothing is left
    /// over.
    Leftovers(const ArrayLogin& login, DeviceMessage record, Gone gone = Gone::Forgotten);

    /// The same on other objects than the array's own, which must outlive it, and with nothing changed.
    Leftovers(const ArrayLogin& login, DeviceMessage record, ArrayObjects& array);

    /// In the order in which they can be taken apart: mapping views, host groups, LUN groups, hosts.
    const std::vector<Object>& Objects() const noexcept { return m_objects; }

    /// Whether such an object is among them.
    bool Has(const Object& object) const;

    /// Objects that bear the prefix of names that the library generates, and are named by neither record nor journal:
    /// another node's, most likely. Throws Failure, Refused, when the array does not list a kind of them.
    std::vector<Object> OfOthers();

    /// What this node's initiators hang on without record or journal naming it: their hosts, the groups of these, their
    /// views, and the views' LUN groups. `inUse` tells by what: "holds iSCSI initiator iqn.2020-01.local.node:01".
    std::vector<Object> OfThisNodesInitiators();

    /// The one of OfOthers of this kind and id; whatever it holds or is in is a use of it. Throws Failure: NotFound
    /// when the array has none, Foreign when it does not bear the prefix or is recorded.
    Object OneOfOthers(const ObjectKind& kind, const std::string& id);

    /// Takes one apart, when it still bears its name and is in no use that `object` does not tell: its associations,
    /// then the object itself; members stay. A host goes with this node's own initiators; one that has others, or is in
    /// a group of others, is left. What somebody puts there meanwhile is not taken out: the array refuses the deletion.
    /// Throws Failure naming what refused.
    void Remove(const Object& object);

    /// Deletes one that OneOfOthers gave, and nothing else: it has to hold nothing and to be in nothing, still. Throws
    /// Failure naming what it holds or is in, or what refused.
    void RemoveIdleOneOfOthers(const Object& object);

private:
    // Finding them.
    void LookFor(Gone gone);
    bool IsRecorded(const ObjectKind& kind, const std::string& id, const std::string& name) const;
    bool IsMine(const ObjectKind& kind, const std::string& id) const;
    void AddTied(const ObjectKind& kind, const std::string& id, const std::string& by, std::vector<Object>& tied);
    std::string UrlAnd(const ObjectKind& kind, const std::string& id) const;

    // What they are used for.
    struct Member {
        const ObjectKind* kind;
        std::string id;
    };
    using Members = std::vector<Member>;
    using Initiators = std::vector<NodeInitiators::Name>;
    static std::string HoldingOf(const ObjectKind& member, const std::string& id);
    Members MembersOf(const ObjectKind& kind, const std::string& id);
    std::vector<std::string> UsesOf(const ObjectKind& kind, const std::string& id, const Members& members);
    std::vector<std::string> UsesOrDoubt(const ObjectKind& kind, const std::string& id);
    std::vector<std::string> UsesOfHostByOthers(const std::string& hostId, const Initiators& own);
    std::vector<std::string> TiesOf(const ObjectKind& kind, const std::string& id);
    void AddHeld(const Members& members, std::vector<std::string>& uses) const;
    void AddHeldByGroups(const std::string& viewId, const Members& groups, std::vector<std::string>& uses);
    void AddUsesOfHost(const std::string& hostId, std::vector<std::string>& uses);
    bool IsUsedByRecordedView(const ObjectKind& kind, const std::string& group, const std::string& otherViewId);
    bool IsOwnGroup(const std::string& hostGroupId) const;

    // Taking them apart.
    struct Removal;
    void RemoveView(const Removal& removal);
    void RemoveHostGroup(const Removal& removal);
    void RemoveLunGroup(const Removal& removal);
    void RemoveHost(const Removal& removal);

    const ArrayLogin& m_login;
    const boost::shared_ptr<ZavRestApi> m_api;
    const std::unique_ptr<ArrayObjects> m_ownArray; // empty where it got another
    ArrayObjects& m_array;
    const DeviceMessage m_record;
    const std::vector<OwnJournal::Entry> m_entries;
    std::vector<Object> m_objects;
};

#endif

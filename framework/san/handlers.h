#ifndef PRODUCT_STORAGE_FRAMEWORK_SAN_HANDLERS_H
#define PRODUCT_STORAGE_FRAMEWORK_SAN_HANDLERS_H

#include "common/framework/san_manager.h"
#include "framework/public/san_journal.h"
#include "framework/san/array_session.h"

#include <optional>

namespace Framework {

/// How the array's REST interface names one kind of object.
struct ObjectKind {
    const char* name;     ///< in messages
    const char* resource; ///< in URLs
    const char* type;     ///< in bodies
};

/// The handlers of an array's objects. All use the session of their manager, which outlives them.

/// A kind of object that is created by its name, which is unique among its kind. Each goes through the journal. `Base`
/// is the handler's interface for `Record`.
template <typename Record, typename Base>
class NamedHandler : public Base {
public:
    NamedHandler(ArraySession& session, const ObjectKind& kind)
        : m_session(session)
        , m_kind(kind)
    {
    }
    Record Create(const Record& record) override;
    Record Query(const std::string& id) override;

protected:
    ArraySession& Session() { return m_session; }

private:
    std::optional<Record> Find(const std::string& name);

    ArraySession& m_session;
    const ObjectKind m_kind;
    const OpenFramework::SanJournal m_journal{OpenFramework::SanJournal::StandardPath()};
};

using LunGroupHandler = NamedHandler<LunGroupMO, CLunGroupHandler>;
using HostHandler = NamedHandler<HostMO, CHostHandler>;

class HostGroupHandler : public NamedHandler<HostGroupMO, CHostGroupHandler> {
public:
    using NamedHandler::NamedHandler;
    void AddHost(const std::string& hostId, const std::string& hostGroupId) override;
};

class MappingViewHandler : public NamedHandler<MappingViewMO, CMappingViewHandler> {
public:
    using NamedHandler::NamedHandler;
    void AddHostGroup(const std::string& mapViewId, const std::string& hostGroupId) override;
    void AddLunGroup(const std::string& mapViewId, const std::string& lunGroupId) override;

private:
    void Add(const ObjectKind& memberKind, const std::string& mapViewId, const std::string& memberId);
};

/// Both kinds of initiators: an initiator that cannot be created because the array knows it is fetched.
template <typename Record>
class InitiatorHandler : public CInitiatorHandler<Record> {
public:
    InitiatorHandler(ArraySession& session, const ObjectKind& kind, const char* addResource)
        : m_session(session)
        , m_kind(kind)
        , m_addResource(addResource)
    {
    }
    Record Create(const Record& record) override;
    Record Query(const std::string& id) override;
    void AddToHost(const Record& initiator, const std::string& hostId) override;

private:
    std::optional<Record> Find(const std::string& id);

    ArraySession& m_session;
    const ObjectKind m_kind;
    const char* const m_addResource;
};

extern template class NamedHandler<LunGroupMO, CLunGroupHandler>;
extern template class NamedHandler<HostMO, CHostHandler>;
extern template class NamedHandler<HostGroupMO, CHostGroupHandler>;
extern template class NamedHandler<MappingViewMO, CMappingViewHandler>;
extern template class InitiatorHandler<IscsiInitiatorMO>;
extern template class InitiatorHandler<FCInitiatorMO>;

namespace Kind {

inline constexpr ObjectKind LUN_GROUP = {"LUN group", "lungroup", "256"};
inline constexpr ObjectKind HOST = {"host", "host", "21"};
inline constexpr ObjectKind HOST_GROUP = {"host group", "hostgroup", "14"};
inline constexpr ObjectKind MAPPING_VIEW = {"mapping view", "mappingview", "245"};
inline constexpr ObjectKind ISCSI_INITIATOR = {"iSCSI initiator", "iscsi_initiator", "222"};
inline constexpr ObjectKind FC_INITIATOR = {"FC initiator", "fc_initiator", "223"};

} // namespace Kind

} // namespace Framework

#endif

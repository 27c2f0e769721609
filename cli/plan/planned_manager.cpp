#include "cli/plan/planned_manager.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace {

/// What an object that is made gets before it is made: a place in the planned array.
template <typename Record, typename Handler>
class NamedHandler : public Handler {
public:
    NamedHandler(PlannedManager& manager, const ObjectKind& kind)
        : m_manager(manager)
        , m_kind(kind)
    {
    }

    Record Create(const Record& record) override
    {
        m_manager.Planned().Add(m_kind, {PlannedArray::NEW, record.name, ""});
        m_manager.MadeNew(m_kind);
        Record made = record;
        made.id = PlannedArray::NEW;
        return made;
    }

    Record Query(const std::string& id) override
    {
        const auto object = m_manager.Remember([&] { return m_manager.Planned().Find(m_kind, id); });
        if (!object) {
            throw std::runtime_error("there is no " + m_kind.Naming(id));
        }
        Record record;
        record.id = object->id;
        record.name = object->name;
        return record;
    }

protected:
    PlannedManager& Manager() { return m_manager; }

private:
    PlannedManager& m_manager;
    const ObjectKind& m_kind;
};

class GroupHandler : public NamedHandler<HostGroupMO, CHostGroupHandler> {
public:
    using NamedHandler::NamedHandler;

    void AddHost(const std::string& hostId, const std::string& hostGroupId) override
    {
        Manager().Joined(HOST, hostId, HOST_GROUP, hostGroupId);
    }
};

class ViewHandler : public NamedHandler<MappingViewMO, CMappingViewHandler> {
public:
    using NamedHandler::NamedHandler;

    void AddHostGroup(const std::string& mapViewId, const std::string& hostGroupId) override
    {
        Manager().Joined(HOST_GROUP, hostGroupId, MAPPING_VIEW, mapViewId);
    }

    void AddLunGroup(const std::string& mapViewId, const std::string& lunGroupId) override
    {
        Manager().Joined(LUN_GROUP, lunGroupId, MAPPING_VIEW, mapViewId);
    }
};

template <typename Record>
class InitiatorHandler : public CInitiatorHandler<Record> {
public:
    InitiatorHandler(PlannedManager& manager, const ObjectKind& kind)
        : m_manager(manager)
        , m_kind(kind)
    {
    }

    Record Create(const Record& record) override
    {
        auto initiator = m_manager.Remember([&] { return m_manager.Planned().Find(m_kind, record.id); });
        if (initiator) {
            m_manager.Found(m_kind, *initiator);
        } else {
            initiator = ArrayObject{record.id, "", ""};
            m_manager.Planned().Add(m_kind, *initiator);
            m_manager.Made(m_kind, record.id, "the array does not have it");
        }
        return ToRecord(*initiator);
    }

    Record Query(const std::string& id) override
    {
        const auto initiator = m_manager.Remember([&] { return m_manager.Planned().Find(m_kind, id); });
        if (!initiator) {
            throw std::runtime_error("there is no " + m_kind.Naming(id));
        }
        return ToRecord(*initiator);
    }

    void AddToHost(const Record& initiator, const std::string& hostId) override
    {
        m_manager.Joined(m_kind, initiator.id, HOST, hostId);
    }

private:
    static Record ToRecord(const ArrayObject& initiator)
    {
        Record record;
        record.id = initiator.id;
        record.name = initiator.name;
        record.parentId = initiator.parentId;
        return record;
    }

    PlannedManager& m_manager;
    const ObjectKind& m_kind;
};

} // namespace

PlannedManager::PlannedManager(PlannedArray& array, std::vector<PlanStep>& steps, PlanStep::Action joining,
                               std::string why)
    : m_array(array)
    , m_steps(steps)
    , m_joining(joining)
    , m_why(std::move(why))
{
    m_handlers[HANDLER_LUN_GROUP] = std::make_unique<NamedHandler<LunGroupMO, CLunGroupHandler>>(*this, LUN_GROUP);
    m_handlers[HANDLER_HOST] = std::make_unique<NamedHandler<HostMO, CHostHandler>>(*this, HOST);
    m_handlers[HANDLER_HOST_GROUP] = std::make_unique<GroupHandler>(*this, HOST_GROUP);
    m_handlers[HANDLER_MAPPING_VIEW] = std::make_unique<ViewHandler>(*this, MAPPING_VIEW);
    m_handlers[HANDLER_ISCSI_INITIATOR] = std::make_unique<InitiatorHandler<IscsiInitiatorMO>>(*this, ISCSI_INITIATOR);
    m_handlers[HANDLER_FC_INITIATOR] = std::make_unique<InitiatorHandler<FCInitiatorMO>>(*this, FC_INITIATOR);
}

PlannedManager::~PlannedManager() = default;

CHandler* PlannedManager::GetHandler(HANDLERTYPE type)
{
    const auto handler = m_handlers.find(type);
    return handler == m_handlers.end() ? nullptr : handler->second.get();
}

bool PlannedManager::Connect(const std::string& /*address*/, unsigned int& /*port*/, const std::string& /*deviceId*/,
                             const std::string& /*token*/, const std::string& /*cookie*/)
{
    return true;
}

void PlannedManager::RequireRead() const
{
    if (m_unread) {
        std::rethrow_exception(m_unread);
    }
}

void PlannedManager::Made(const ObjectKind& kind, const std::string& id, const std::string& why)
{
    PlanStep& step = m_steps.emplace_back();
    step.action = PlanStep::Action::Make;
    step.kind = kind.words;
    step.id = id;
    step.why = why;
}

void PlannedManager::Found(const ObjectKind& kind, const ArrayObject& initiator)
{
    const bool isTold = std::any_of(m_steps.begin(), m_steps.end(), [&](const PlanStep& step) {
        return step.kind == kind.words && step.id == initiator.id;
    });
    if (!isTold) {
        PlanStep& step = m_steps.emplace_back();
        step.action = PlanStep::Action::Reuse;
        step.kind = kind.words;
        step.id = initiator.id;
        step.why = initiator.parentId.empty() ? "the array has it, on no host" : "on host " + initiator.parentId;
    }
}

void PlannedManager::Joined(const ObjectKind& member, const std::string& memberId, const ObjectKind& container,
                            const std::string& containerId)
{
    if (container == HOST) {
        m_array.Place(member, memberId, containerId);
    } else {
        m_array.Join(container, containerId, member, memberId);
    }
    PlanStep& step = m_steps.emplace_back();
    step.action = m_joining;
    step.kind = member.words;
    step.id = memberId;
    step.into = container.words;
    step.intoId = containerId;
    step.why = m_joining == PlanStep::Action::Mend ? "it is missing" : "";
}

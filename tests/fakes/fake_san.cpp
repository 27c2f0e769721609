#include "tests/fakes/fake_san.h"

#include "tests/fakes/fakes.h"

#include <exception>
#include <memory>
#include <utility>

namespace {

class SanError : public std::exception {
public:
    explicit SanError(std::string text)
        : m_text(std::move(text))
    {
    }
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    const std::string m_text;
};

template <typename Record, typename Base = CRecordHandler<Record>>
class FakeRecordHandler : public Base {
public:
    FakeRecordHandler(std::string kind, std::string id)
        : m_kind(std::move(kind))
        , m_id(std::move(id))
    {
    }

    Record Create(const Record& record) override
    {
        Fakes::San().Perform("create " + m_kind, record.name);
        Record created = record;
        created.id = m_id;
        return created;
    }

    Record Query(const std::string& id) override
    {
        Fakes::San().Perform("query " + m_kind, id);
        Record found;
        found.id = id;
        return found;
    }

private:
    const std::string m_kind;
    const std::string m_id;
};

class FakeHostGroupHandler : public FakeRecordHandler<HostGroupMO, CHostGroupHandler> {
public:
    using FakeRecordHandler::FakeRecordHandler;

    void AddHost(const std::string& hostId, const std::string& hostGroupId) override
    {
        Fakes::San().Perform("add host", hostId + " to host group " + hostGroupId);
    }
};

class FakeMappingViewHandler : public FakeRecordHandler<MappingViewMO, CMappingViewHandler> {
public:
    using FakeRecordHandler::FakeRecordHandler;

    void AddHostGroup(const std::string& mapViewId, const std::string& hostGroupId) override
    {
        Fakes::San().Perform("add host group", hostGroupId + " to mapping view " + mapViewId);
    }

    void AddLunGroup(const std::string& mapViewId, const std::string& lunGroupId) override
    {
        Fakes::San().Perform("add LUN group", lunGroupId + " to mapping view " + mapViewId);
    }
};

template <typename Record>
class FakeInitiatorHandler : public CInitiatorHandler<Record> {
public:
    explicit FakeInitiatorHandler(std::string kind)
        : m_kind(std::move(kind))
    {
    }

    Record Create(const Record& record) override
    {
        Fakes::San().Perform("create " + m_kind, record.id);
        return Query(record.id);
    }

    Record Query(const std::string& id) override
    {
        Record found;
        found.id = id;
        found.parentId = Fakes::San().ParentOf(id);
        return found;
    }

    void AddToHost(const Record& initiator, const std::string& hostId) override
    {
        Fakes::San().Perform("add initiator", initiator.id + " to host " + hostId);
    }

private:
    const std::string m_kind;
};

class FakeManager : public CDeviceManager {
public:
    CHandler* GetHandler(HANDLERTYPE type) override
    {
        const auto handler = m_handlers.find(type);
        return handler == m_handlers.end() || !Fakes::San().HasHandler(type) ? nullptr : handler->second.get();
    }

    bool Connect(const std::string& address, unsigned int& port, const std::string& deviceId, const std::string& token,
                 const std::string& cookie) override
    {
        return Fakes::San().Connect({address, port, deviceId, token, cookie});
    }

    FakeManager()
    {
        m_handlers[HANDLER_LUN_GROUP] =
            std::make_unique<FakeRecordHandler<LunGroupMO>>("LUN group", FakeSan::LUN_GROUP_ID);
        m_handlers[HANDLER_HOST] = std::make_unique<FakeRecordHandler<HostMO>>("host", FakeSan::HOST_ID);
        m_handlers[HANDLER_HOST_GROUP] = std::make_unique<FakeHostGroupHandler>("host group", FakeSan::HOST_GROUP_ID);
        m_handlers[HANDLER_MAPPING_VIEW] =
            std::make_unique<FakeMappingViewHandler>("mapping view", FakeSan::MAP_VIEW_ID);
        m_handlers[HANDLER_ISCSI_INITIATOR] =
            std::make_unique<FakeInitiatorHandler<IscsiInitiatorMO>>("iSCSI initiator");
        m_handlers[HANDLER_FC_INITIATOR] = std::make_unique<FakeInitiatorHandler<FCInitiatorMO>>("FC initiator");
    }

private:
    std::map<int, std::unique_ptr<CHandler>> m_handlers;
};

} // namespace

// The SAN management library's symbols.

CDeviceManager* CDeviceManager::getInstance(unsigned int mode, unsigned int limit)
{
    return Fakes::San().MakeManager(mode, limit);
}

void CDeviceManager::releaseInstance(CDeviceManager* manager)
{
    Fakes::San().CountRelease();
    const std::unique_ptr<FakeManager> owner(static_cast<FakeManager*>(manager));
}

// What stands behind them.

void FakeSan::InitiatorBelongsTo(const std::string& initiatorId, const std::string& hostId)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_parents[initiatorId] = hostId;
}

void FakeSan::Fail(const std::string& operation, const std::string& text)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_failures[operation] = text;
}

void FakeSan::ThrowOther(const std::string& operation, int thrown)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_others[operation] = thrown;
}

void FakeSan::HaveNoHandler(HANDLERTYPE type)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_missingHandlers.insert(type);
}

void FakeSan::RefuseConnections()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isRefusing = true;
}

void FakeSan::HaveNoManager()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_hasManager = false;
}

void FakeSan::Observe(const std::function<void(const std::string& call)>& observer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_observer = observer;
}

void FakeSan::Tell(const std::string& call) const
{
    std::function<void(const std::string&)> observer;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        observer = m_observer;
    }
    if (observer) {
        observer(call);
    }
}

void FakeSan::ObserveRelease(const std::function<void()>& observer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_releaseObserver = observer;
}

void FakeSan::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_parents.clear();
    m_failures.clear();
    m_others.clear();
    m_missingHandlers.clear();
    m_isRefusing = false;
    m_hasManager = true;
    m_observer = nullptr;
    m_releaseObserver = nullptr;
    m_calls.clear();
    m_connections.clear();
    m_arguments.clear();
    m_made = 0;
    m_released = 0;
}

std::vector<std::string> FakeSan::Calls() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_calls;
}

std::vector<FakeSan::Connection> FakeSan::Connections() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_connections;
}

std::vector<std::string> FakeSan::InstanceArguments() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_arguments;
}

int FakeSan::ManagersMade() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_made;
}

int FakeSan::ManagersReleased() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_released;
}

CDeviceManager* FakeSan::MakeManager(unsigned int mode, unsigned int limit)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_arguments.push_back(std::to_string(mode) + "," + std::to_string(limit));
    if (!m_hasManager) {
        return nullptr;
    }
    ++m_made;
    return std::make_unique<FakeManager>().release(); // releaseInstance takes it back
}

void FakeSan::CountRelease()
{
    std::function<void()> observer;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        ++m_released;
        observer = m_releaseObserver;
    }
    if (observer) {
        observer();
    }
}

bool FakeSan::Connect(const Connection& connection)
{
    Tell("connect");
    const std::lock_guard<std::mutex> guard(m_lock);
    m_connections.push_back(connection);
    return !m_isRefusing;
}

bool FakeSan::HasHandler(HANDLERTYPE type) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (const auto failure = m_failures.find("get handler " + std::to_string(type)); failure != m_failures.end()) {
        throw SanError(failure->second);
    }
    return m_missingHandlers.count(type) == 0;
}

void FakeSan::Perform(const std::string& operation, const std::string& details)
{
    Tell(operation + " " + details);
    const std::lock_guard<std::mutex> guard(m_lock);
    m_calls.push_back(operation + " " + details);
    if (const auto failure = m_failures.find(operation); failure != m_failures.end()) {
        throw SanError(failure->second);
    }
    if (const auto other = m_others.find(operation); other != m_others.end()) {
        throw other->second;
    }
}

std::string FakeSan::ParentOf(const std::string& initiatorId) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto parent = m_parents.find(initiatorId);
    return parent == m_parents.end() ? "" : parent->second;
}

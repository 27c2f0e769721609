#include "simulator/array/array_system.h"

#include "simulator/array/codes.h"

namespace ZavSim {

ArraySystem::ArraySystem(ArrayShape shape, Accounts accounts, const SessionLimits& limits, Clock clock,
                         std::unique_ptr<const StateFile> file)
    : m_inventory(std::move(shape))
    , m_accounts(std::move(accounts))
    , m_file(std::move(file))
    , m_objects(m_file ? m_file->Load(m_inventory.Shape().luns) : State(m_inventory.Shape().luns))
    , m_sessions(limits, std::move(clock))
{
    if (m_file) {
        m_file->Save(m_objects); // a folder that cannot be written shows now, not at the first change
    }
}

Session ArraySystem::Login(const std::string& user, const std::string& password)
{
    if (!m_accounts.Accepts(user, password)) {
        throw Refusal(Code::LoginRefused, "user \"" + user + "\"");
    }
    const auto session = m_sessions.Open(user);
    if (!session) {
        throw Refusal(Code::SessionLimitReached, std::to_string(m_sessions.Limit()) + " stand");
    }
    return *session;
}

Session ArraySystem::RequireSession(const std::string& token, const std::vector<std::string>& cookies)
{
    const auto session = m_sessions.Use(token, cookies);
    if (!session) {
        throw Refusal(Code::SessionLapsed, "token and cookie must both be those of one login");
    }
    return *session;
}

void ArraySystem::Change(const std::function<void(State&)>& change)
{
    const std::lock_guard<std::mutex> guard(m_objectsLock);
    if (!m_file) {
        change(m_objects);
        return;
    }
    State next = m_objects;
    change(next);
    try {
        m_file->Save(next);
    } catch (const std::exception& error) {
        throw Refusal(Code::StateNotSaved, error.what());
    }
    m_objects = std::move(next);
}

} // namespace ZavSim

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
    m_objects.SetIdReuse(m_inventory.Shape().reusesIds);
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
    if (!m_file && !m_follower) {
        change(m_objects);
        return;
    }
    State next = m_objects;
    change(next);
    Replace(std::move(next));
}

void ArraySystem::SetFollower(std::function<void(const State&)> follower)
{
    const std::lock_guard<std::mutex> guard(m_objectsLock);
    follower(m_objects);
    m_follower = std::move(follower);
}

void ArraySystem::SetFabric(std::function<std::set<std::string>()> fabric)
{
    const std::lock_guard<std::mutex> guard(m_objectsLock);
    m_fabric = std::move(fabric);
}

void ArraySystem::Replace(State next)
{
    Code step = Code::TargetsNotChanged;
    try {
        if (m_follower) {
            m_follower(next);
        }
        step = Code::StateNotSaved;
        if (m_file) {
            m_file->Save(next);
        }
    } catch (const std::exception& error) {
        const std::string reason = error.what();
        try {
            if (m_follower) {
                m_follower(m_objects); // back to what still stands
            }
        } catch (const std::exception&) {
            // Told by the first failure; the next change tries again.
        }
        throw Refusal(step, reason);
    }
    m_objects = std::move(next);
}

} // namespace ZavSim

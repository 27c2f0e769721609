#ifndef ZAVSIM_ARRAY_ARRAY_SYSTEM_H
#define ZAVSIM_ARRAY_ARRAY_SYSTEM_H

#include "simulator/access/accounts.h"
#include "simulator/access/sessions.h"
#include "simulator/array/inventory.h"
#include "simulator/array/state.h"
#include "simulator/array/state_file.h"

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace ZavSim {

/// One simulated array: its generated part, what clients made on it, and their sessions. Any thread may call.
class ArraySystem {
public:
    /// With a state file the objects come from it and every change goes to it; throws what StateFile::Load and Save
    /// throw.
    ArraySystem(ArrayShape shape, Accounts accounts, const SessionLimits& limits, Clock clock,
                std::unique_ptr<const StateFile> file);

    const Inventory& GetInventory() const noexcept { return m_inventory; }

    /// Throws Refusal with LoginRefused or SessionLimitReached.
    Session Login(const std::string& user, const std::string& password);

    /// Throws Refusal with SessionLapsed, without telling whether the token or the cookies were wrong.
    Session RequireSession(const std::string& token, const std::vector<std::string>& cookies);
    SessionTable& Sessions() noexcept { return m_sessions; }

    /// Runs `read` on the objects, under the lock, and returns what it returns.
    template <typename Read>
    auto Look(Read read)
    {
        const std::lock_guard<std::mutex> guard(m_objectsLock);
        if (m_fabric) {
            m_objects.SetOnlinePorts(m_fabric());
        }
        return read(static_cast<const State&>(m_objects));
    }

    /// Runs `change` on the objects. What it throws passes on, and then nothing is changed; throws Refusal with
    /// TargetsNotChanged or StateNotSaved, also with nothing changed, when the follower cannot follow or the state file
    /// cannot be written.
    void Change(const std::function<void(State&)>& change);

    /// From now on `follower` is told the objects of each change before it counts, one thread at a time; what it throws
    /// keeps the change from being made. It is told at once how they are; what it throws then passes on.
    void SetFollower(std::function<void(const State&)> follower);

    /// From now on the FC ports that are online are those that `fabric` tells.
    void SetFabric(std::function<std::set<std::string>()> fabric);

private:
    void Replace(State next); // requires m_objectsLock

    const Inventory m_inventory;
    const Accounts m_accounts;
    const std::unique_ptr<const StateFile> m_file; ///< null: nothing is kept; saved under m_objectsLock
    std::mutex m_objectsLock;
    State m_objects;                                 ///< guarded by m_objectsLock
    std::function<void(const State&)> m_follower;    ///< guarded by m_objectsLock, also while it runs; may be empty
    std::function<std::set<std::string>()> m_fabric; ///< the same
    SessionTable m_sessions;
};

} // namespace ZavSim

#endif

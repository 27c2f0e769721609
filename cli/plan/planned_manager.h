#ifndef PRODUCT_STORAGE_CLI_PLAN_PLANNED_MANAGER_H
#define PRODUCT_STORAGE_CLI_PLAN_PLANNED_MANAGER_H

#include "cli/plan/init_plan.h"
#include "cli/plan/planned_array.h"
#include "common/framework/san_manager.h"

#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Stands where the library and the mapping chain expect the SAN library: what they would have made is entered into a
/// planned array and told as steps. One thread.
class PlannedManager : public CDeviceManager {
public:
    /// `array` and `steps` must outlive it. `joining` tells what an association is called, `why` what an object is made
    /// for.
    PlannedManager(PlannedArray& array, std::vector<PlanStep>& steps, PlanStep::Action joining, std::string why);
    PlannedManager(const PlannedManager&) = delete;
    PlannedManager& operator=(const PlannedManager&) = delete;
    ~PlannedManager() override;

    CHandler* GetHandler(HANDLERTYPE type) override;

    /// There is nothing to attach to.
    bool Connect(const std::string& address, unsigned int& port, const std::string& deviceId, const std::string& token,
                 const std::string& cookie) override;

    /// Throws what the array was not read for: the library counts it as a step that failed, and goes on.
    void RequireRead() const;

    /// For its handlers.
    template <typename Read>
    auto Remember(const Read& read)
    {
        try {
            return read();
        } catch (...) {
            m_unread = std::current_exception();
            throw;
        }
    }
    PlannedArray& Planned() noexcept { return m_array; }
    void Made(const ObjectKind& kind, const std::string& id, const std::string& why);
    void MadeNew(const ObjectKind& kind) { Made(kind, PlannedArray::NEW, m_why); }
    void Found(const ObjectKind& kind, const ArrayObject& initiator);
    void Joined(const ObjectKind& member, const std::string& memberId, const ObjectKind& container,
                const std::string& containerId);

private:
    PlannedArray& m_array;
    std::vector<PlanStep>& m_steps;
    const PlanStep::Action m_joining;
    const std::string m_why;
    std::map<HANDLERTYPE, std::unique_ptr<CHandler>> m_handlers;
    std::exception_ptr m_unread;
};

#endif

#ifndef ZAVSIM_FAULTS_FAULT_PLAN_H
#define ZAVSIM_FAULTS_FAULT_PLAN_H

#include "simulator/faults/fault.h"

#include <mutex>
#include <random>
#include <vector>

namespace ZavSim {

/// The faults that were asked for, in the order of asking. Any thread may call.
///
/// With the same seed, the same faults and the same sequence of requests, the same requests are hit.
class FaultPlan {
public:
    explicit FaultPlan(std::uint64_t seed)
        : m_random(seed)
    {
    }

    /// Returns the number under which the fault can be taken away.
    std::uint64_t Add(const Fault& fault);

    /// False when there is none of that number (any more).
    bool Remove(std::uint64_t number);
    void Clear();

    /// The first fault that matches the request and hits it; used up by one. Only a fault that matches draws from the
    /// random sequence, and only when its probability is below 1.
    std::optional<Fault> Draw(const std::string& method, const std::string& target);

    /// The faults still in force: FaultToJson with "number", "hits" and the "count" that is left.
    Json::Value List() const;

private:
    struct Entry {
        std::uint64_t number;
        Fault fault;
        std::uint64_t hits;
    };

    mutable std::mutex m_lock;
    std::mt19937_64 m_random;       // guarded by m_lock
    std::uint64_t m_lastNumber = 0; // guarded by m_lock
    std::vector<Entry> m_entries;   // guarded by m_lock
};

} // namespace ZavSim

#endif

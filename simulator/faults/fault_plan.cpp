#include "simulator/faults/fault_plan.h"

#include <algorithm>

namespace ZavSim {

namespace {

bool Concerns(const Fault& fault, const std::string& method, const std::string& target)
{
    return (fault.method.empty() || fault.method == method) &&
           (fault.target == nullptr || re2::RE2::PartialMatch(target, *fault.target));
}

} // namespace

std::uint64_t FaultPlan::Add(const Fault& fault)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_entries.push_back({++m_lastNumber, fault, 0});
    return m_lastNumber;
}

bool FaultPlan::Remove(std::uint64_t number)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [number](const Entry& entry) { return entry.number == number; });
    if (found == m_entries.end()) {
        return false;
    }
    m_entries.erase(found);
    return true;
}

void FaultPlan::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_entries.clear();
}

std::optional<Fault> FaultPlan::Draw(const std::string& method, const std::string& target)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        Fault& fault = entry->fault;
        if (!Concerns(fault, method, target)) {
            continue;
        }
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        if (fault.probability < 1 && std::uniform_real_distribution<double>(0, 1)(m_random) >= fault.probability) {
            continue;
        }
        ++entry->hits;
        const Fault hit = fault;
        if (fault.count > 0 && --fault.count == 0) {
            m_entries.erase(entry);
        }
        return hit;
    }
    return std::nullopt;
}

Json::Value FaultPlan::List() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    Json::Value list(Json::arrayValue);
    for (const Entry& entry : m_entries) {
        Json::Value value = FaultToJson(entry.fault);
        value["number"] = Json::UInt64(entry.number);
        value["hits"] = Json::UInt64(entry.hits);
        list.append(value);
    }
    return list;
}

} // namespace ZavSim

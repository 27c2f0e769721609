#include "cli/array/array_inventory.h"

#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace {

/// Ids that were seen. Those that follow each other take the memory of one, so that there may be any number of them.
class SeenIds {
public:
    // False when it is there already.
    bool Add(std::uint64_t id)
    {
        const auto behind = m_runs.upper_bound(id);
        const auto before = behind == m_runs.begin() ? m_runs.end() : std::prev(behind);
        if (before != m_runs.end() && id <= before->second) {
            return false;
        }
        ++m_count;
        const bool isJoined = behind != m_runs.end() && id + 1 == behind->first;
        const std::uint64_t last = isJoined ? behind->second : id;
        if (isJoined) {
            m_runs.erase(behind);
        }
        if (before != m_runs.end() && before->second + 1 == id) {
            before->second = last;
        } else {
            m_runs[id] = last;
        }
        return true;
    }

    std::uint64_t Count() const noexcept { return m_count; }

private:
    std::map<std::uint64_t, std::uint64_t> m_runs; // from each first id to the last
    std::uint64_t m_count = 0;
};

} // namespace

void ArrayInventory::Require(int code, const std::string& what, const std::string& errorText) const
{
    if (code != 0) {
        throw Failure::OfRequest(ExitCodeOf(code), m_login.Device().url + ": cannot read " + what, errorText, code);
    }
}

ArrayInventory::System ArrayInventory::ReadSystem()
{
    System system;
    std::string errorText;
    Require(m_api->GetSerialNum(system.serial, errorText), "the serial number", errorText);
    Require(m_api->GetProductMode(system.productMode, errorText), "the product model", errorText);
    system.managementIps = ManagementIps();
    system.serviceIps = ServiceIps();
    system.lunCount = LunCount();
    return system;
}

std::vector<std::string> ArrayInventory::ManagementIps()
{
    std::vector<std::string> ips;
    std::string errorText;
    Require(m_api->GetAllManagementV4IPs(ips, errorText), "the management ports", errorText);
    return ips;
}

std::vector<std::string> ArrayInventory::ServiceIps()
{
    std::vector<std::string> ips;
    std::string errorText;
    Require(m_api->GetStorageIP(ips, errorText), "the service ports", errorText);
    return ips;
}

std::vector<Zav::StoragePool> ArrayInventory::Pools()
{
    std::vector<Zav::StoragePool> pools;
    std::string errorText;
    Require(m_api->GetAllStoragePool(pools, errorText), "the storage pools", errorText);
    return pools;
}

std::uint64_t ArrayInventory::LunCount()
{
    std::uint64_t count = 0;
    std::string errorText;
    Require(m_api->GetLunCount(count, errorText), "the number of LUNs", errorText);
    return count;
}

// The next page begins behind what came: an array may give fewer at once than it is asked for. Rows move when a LUN is
// made or deleted meanwhile, so that some come twice and others never do; what came twice counts once. A page on which
// nothing is new ends the list, whatever was counted.
bool ArrayInventory::EachLunPage(std::uint64_t count, std::uint64_t pageSize,
                                 const std::function<bool(const std::vector<Zav::LunInfo>&)>& take)
{
    SeenIds seen;
    bool isFull = false; // the last page
    // The bar is gone before anything is told.
    {
        const Report::ProgressBar bar("LUNs", count);
        for (std::uint64_t offset = 0; seen.Count() < count;) {
            std::vector<Zav::LunInfo> luns;
            std::string errorText;
            Require(m_api->GetLunListByPage(offset, pageSize, luns, errorText),
                    "the LUNs from " + std::to_string(offset), errorText);
            offset += luns.size();
            isFull = luns.size() >= pageSize;
            const auto isKnown = [&seen](const Zav::LunInfo& lun) { return !seen.Add(lun.id); };
            luns.erase(std::remove_if(luns.begin(), luns.end(), isKnown), luns.end());
            if (luns.empty()) {
                break;
            }
            if (!take(luns)) {
                return true;
            }
            bar.Show(seen.Count());
        }
    }
    if (seen.Count() == count || (seen.Count() > count && !isFull)) {
        return true;
    }
    Report::Tell("warning: " + m_login.Device().url + ": the array counts " + std::to_string(count) +
                     " LUNs and gave " + std::to_string(seen.Count()) + ": the list may lack some",
                 Report::Look::Warning);
    return false;
}

Json::Value ToJson(const ArrayInventory::System& system)
{
    Json::Value value;
    value["serial_number"] = system.serial;
    value["product_model"] = system.productMode;
    value["management_ips"] = Report::JsonList(system.managementIps);
    value["service_ips"] = Report::JsonList(system.serviceIps);
    value["lun_count"] = Json::UInt64(system.lunCount);
    return value;
}

Json::Value ToJson(const Zav::StoragePool& pool)
{
    Json::Value value;
    value["id"] = Json::UInt64(pool.id);
    value["name"] = pool.name;
    value["description"] = pool.description;
    value["total_bytes"] = Json::UInt64(pool.totalCapacity);
    value["free_bytes"] = Json::UInt64(pool.freeCapacity);
    value["consumed_bytes"] = Json::UInt64(pool.consumedCapacity);
    value["health_status"] = pool.healthStatus;
    value["usage_type"] = pool.usageType;
    return value;
}

Json::Value ToJson(const Zav::LunInfo& lun)
{
    Json::Value value;
    value["id"] = Json::UInt64(lun.id);
    value["name"] = lun.name;
    value["wwn"] = lun.wwn;
    value["capacity_bytes"] = Json::UInt64(lun.capacity);
    value["health_status"] = lun.healthStatus;
    value["pool_id"] = Json::UInt64(lun.parentId);
    value["allocation_type"] = lun.allocationType;
    return value;
}

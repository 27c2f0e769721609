#include "cli/array/array_inventory.h"

#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "rest/zav_rest_api.h"

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

void ArrayInventory::EachLunPage(std::uint64_t count, std::uint64_t pageSize,
                                 const std::function<bool(const std::vector<Zav::LunInfo>&)>& take)
{
    const Report::ProgressBar bar("LUNs", count);
    for (std::uint64_t offset = 0; offset < count; offset += pageSize) {
        std::vector<Zav::LunInfo> luns;
        std::string errorText;
        Require(m_api->GetLunListByPage(offset, pageSize, luns, errorText), "the LUNs from " + std::to_string(offset),
                errorText);
        if (!take(luns)) {
            return;
        }
        bar.Show(offset + luns.size());
    }
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

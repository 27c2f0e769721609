#include "simulator/array/inventory.h"

#include "simulator/array/kinds.h"
#include "simulator/array/stable_hash.h"

#include <cstdio>

namespace ZavSim {

namespace {

constexpr std::uint64_t GIB = 1024ULL * 1024 * 1024;
constexpr std::uint64_t SMALL_SECTOR = 512;
constexpr std::uint64_t LARGE_SECTOR = 4096;
constexpr std::uint64_t LARGE_SECTOR_EVERY = 16;
constexpr std::uint64_t CAPACITY_STEPS = 16;
constexpr std::uint64_t POOL_SPARE_BYTES = 1024 * GIB;

// Running statuses as the array has them for every object.
constexpr const char* ONLINE = "27";
constexpr const char* HEALTHY = "1";

std::uint64_t LunBytes(std::uint64_t lun)
{
    return (lun % CAPACITY_STEPS + 1) * GIB;
}

std::uint64_t LunSectorSize(std::uint64_t lun)
{
    return lun % LARGE_SECTOR_EVERY == LARGE_SECTOR_EVERY - 1 ? LARGE_SECTOR : SMALL_SECTOR;
}

std::string FormatNumber(const char* format, std::uint64_t number)
{
    char text[32];
    std::snprintf(text, sizeof text, format, static_cast<unsigned long long>(number));
    return text;
}

} // namespace

Inventory::Inventory(ArrayShape shape)
    : m_shape(std::move(shape))
    , m_serialHash(StableHash(m_shape.serial))
    , m_consumed(m_shape.pools, 0)
{
    for (std::uint64_t lun = 0; lun < m_shape.luns && m_shape.pools > 0; ++lun) {
        m_consumed[PoolOf(lun)] += LunBytes(lun);
    }
}

Json::Value Inventory::SystemRecord() const
{
    Json::Value record(Json::objectValue);
    record["ID"] = m_shape.serial;
    record["NAME"] = "zavsim";
    record["PRODUCTMODE"] = m_shape.productMode;
    record["HEALTHSTATUS"] = HEALTHY;
    record["RUNNINGSTATUS"] = ONLINE;
    return record;
}

Json::Value Inventory::LunRecord(std::uint64_t lun) const
{
    const std::uint64_t sectorSize = LunSectorSize(lun);
    Json::Value record(Json::objectValue);
    record["ID"] = std::to_string(lun);
    record["TYPE"] = InfoOf(Kind::Lun).type;
    record["NAME"] = FormatNumber("LUN_%06llu", lun);
    record["WWN"] = FormatNumber("6%015llx", m_serialHash >> 4) + FormatNumber("%016llx", lun);
    record["CAPACITY"] = std::to_string(LunBytes(lun) / sectorSize);
    record["SECTORSIZE"] = std::to_string(sectorSize);
    record["HEALTHSTATUS"] = HEALTHY;
    record["RUNNINGSTATUS"] = ONLINE;
    record["PARENTID"] = std::to_string(PoolOf(lun));
    record["ALLOCTYPE"] = std::to_string(lun % 2);
    return record;
}

Json::Value Inventory::PoolRecord(std::uint64_t pool) const
{
    Json::Value record(Json::objectValue);
    std::uint64_t sectorSize = SMALL_SECTOR;
    // Odd pools say their sector size, even ones leave it to the customary 512: clients must cope with both.
    if (pool % 2 == 1) {
        sectorSize = LARGE_SECTOR;
        record["SECTORSIZE"] = std::to_string(sectorSize);
    }
    record["ID"] = std::to_string(pool);
    record["NAME"] = FormatNumber("StoragePool%03llu", pool);
    record["DESCRIPTION"] = FormatNumber("Simulated pool %llu", pool);
    record["USERTOTALCAPACITY"] = std::to_string((m_consumed[pool] + POOL_SPARE_BYTES) / sectorSize);
    record["USERFREECAPACITY"] = std::to_string(POOL_SPARE_BYTES / sectorSize);
    record["USERCONSUMEDCAPACITY"] = std::to_string(m_consumed[pool] / sectorSize);
    record["HEALTHSTATUS"] = HEALTHY;
    record["RUNNINGSTATUS"] = ONLINE;
    record["USAGETYPE"] = "1";
    return record;
}

Json::Value Inventory::PoolRecords() const
{
    Json::Value records(Json::arrayValue);
    for (std::uint64_t pool = 0; pool < m_shape.pools; ++pool) {
        records.append(PoolRecord(pool));
    }
    return records;
}

Json::Value Inventory::PortRecords(PortSelection selection) const
{
    Json::Value records(Json::arrayValue);
    std::size_t number = 0;
    const auto append = [&](const std::vector<std::string>& addresses, const char* name, const char* logicType,
                            bool selected) {
        for (std::size_t i = 0; i < addresses.size(); ++i, ++number) {
            if (!selected) {
                continue;
            }
            Json::Value record(Json::objectValue);
            record["ID"] = std::to_string(number);
            record["NAME"] = name + std::to_string(i);
            record["LOGICTYPE"] = logicType;
            record[addresses[i].find(':') == std::string::npos ? "IPV4ADDR" : "IPV6ADDR"] = addresses[i];
            record["HEALTHSTATUS"] = HEALTHY;
            record["RUNNINGSTATUS"] = ONLINE;
            records.append(record);
        }
    };
    append(m_shape.managementAddresses, "MGMT", "2", selection != PortSelection::Service);
    append(m_shape.serviceAddresses, "SERVICE", "0", selection != PortSelection::Management);
    return records;
}

} // namespace ZavSim

#ifndef PRODUCT_STORAGE_REST_INVENTORY_RECORDS_H
#define PRODUCT_STORAGE_REST_INVENTORY_RECORDS_H

#include <cstdint>
#include <string>

namespace Zav {

/// One storage pool of an array. Health status and usage type are the array's own values, not interpreted here.
struct StoragePool {
    std::uint64_t id = 0;
    std::string name;
    std::string description;
    std::uint64_t totalCapacity = 0;    ///< bytes
    std::uint64_t freeCapacity = 0;     ///< bytes
    std::uint64_t consumedCapacity = 0; ///< bytes
    std::uint32_t healthStatus = 1;
    std::string usageType;
};

/// One LUN of an array. Health status and allocation type are the array's own values, not interpreted here.
struct LunInfo {
    std::uint64_t id = 0;
    std::string name;
    std::string wwn;
    std::uint64_t capacity = 0; ///< bytes
    std::uint32_t healthStatus = 1;
    std::uint64_t parentId = 0;
    std::uint32_t allocationType = 0;
};

} // namespace Zav

#endif

#ifndef ZAVSIM_ARRAY_INVENTORY_H
#define ZAVSIM_ARRAY_INVENTORY_H

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ZavSim {

/// What the array consists of besides what clients make on it. Fixed for the life of the process.
struct ArrayShape {
    std::uint64_t luns = 16;
    std::uint64_t pools = 2;
    std::string serial = "ZAVSIM0000000001"; ///< also the device id of the sessions
    std::string productMode = "ZAVSIM-1";
    std::vector<std::string> managementAddresses; ///< without ports, each once
    std::vector<std::string> serviceAddresses;
    bool reusesIds = false; ///< an object that is made gets the lowest id that is free, not one that none ever had
};

enum class PortSelection { All, Management, Service };

/// The generated part of the array: LUNs, pools, ports and the system, worked out from their numbers. Every value of a
/// record is a text, as on the wire. Immutable, so any thread may ask.
class Inventory {
public:
    explicit Inventory(ArrayShape shape);

    const ArrayShape& Shape() const noexcept { return m_shape; }

    Json::Value SystemRecord() const;
    Json::Value LunRecord(std::uint64_t lun) const;
    Json::Value PoolRecords() const;

    /// Management ports first. An IPv6 address is given as IPV6ADDR, and that port then has no IPV4ADDR.
    Json::Value PortRecords(PortSelection selection) const;

private:
    Json::Value PoolRecord(std::uint64_t pool) const;
    std::uint64_t PoolOf(std::uint64_t lun) const noexcept { return lun % m_shape.pools; }

    ArrayShape m_shape;
    std::uint64_t m_serialHash; ///< gives the LUNs of arrays with different serial numbers different world wide names
    std::vector<std::uint64_t> m_consumed; ///< bytes by pool
};

} // namespace ZavSim

#endif

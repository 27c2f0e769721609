#ifndef PRODUCT_STORAGE_CLI_ARRAY_ARRAY_INVENTORY_H
#define PRODUCT_STORAGE_CLI_ARRAY_ARRAY_INVENTORY_H

#include "cli/array/array_login.h"
#include "rest/inventory_records.h"

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// What an array tells of itself and its storage, by the library's operations. Each throws Failure naming what could
/// not be read.
class ArrayInventory {
public:
    /// What an array is.
    struct System {
        std::string serial;
        std::string productMode;
        std::vector<std::string> managementIps;
        std::vector<std::string> serviceIps;
        std::uint64_t lunCount = 0;
    };

    static constexpr std::uint64_t PAGE = 500; ///< LUNs to a request, where nobody asks for another number

    /// `login` must outlive it.
    explicit ArrayInventory(const ArrayLogin& login)
        : m_login(login)
        , m_api(login.Api())
    {
    }

    System ReadSystem();
    std::vector<std::string> ManagementIps();
    std::vector<std::string> ServiceIps();
    std::vector<Zav::StoragePool> Pools();
    std::uint64_t LunCount();

    /// Reads the LUNs, of which the array counted `count`, page by page, and hands each on once, until `take` has
    /// enough and gives false. False, and said, where that may not be all: the array gave fewer than it counted, or
    /// more than that and a last page that was full.
    bool EachLunPage(std::uint64_t count, std::uint64_t pageSize,
                     const std::function<bool(const std::vector<Zav::LunInfo>&)>& take);

private:
    void Require(int code, const std::string& what, const std::string& errorText) const;

    const ArrayLogin& m_login;
    const boost::shared_ptr<ZavRestApi> m_api;
};

Json::Value ToJson(const ArrayInventory::System& system);
Json::Value ToJson(const Zav::StoragePool& pool);
Json::Value ToJson(const Zav::LunInfo& lun);

/// Each of them.
template <typename Record>
std::vector<Json::Value> ToJsonList(const std::vector<Record>& records)
{
    std::vector<Json::Value> list;
    list.reserve(records.size());
    for (const Record& record : records) {
        list.push_back(ToJson(record));
    }
    return list;
}

#endif

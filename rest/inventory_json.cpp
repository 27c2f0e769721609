#include "rest/inventory_json.h"

#include "common/json_text.h"
#include "rest/answer_json.h"

#include <boost/lexical_cast.hpp>

#include <stdexcept>

namespace InventoryJson {

namespace {

using AnswerJson::MemberText;

constexpr std::uint64_t DEFAULT_SECTOR_SIZE = 512; // bytes

template <typename Number>
Number ToNumber(const Json::Value& element, const char* name)
{
    const std::string text = MemberText(element, name);
    try {
        return boost::lexical_cast<Number>(text);
    } catch (const boost::bad_lexical_cast&) {
        throw std::invalid_argument(std::string(name) + " is not a number: \"" + text + "\"");
    }
}

// Capacities are counted in sectors on the array, whose size each element may tell.
std::uint64_t SectorSize(const Json::Value& element)
{
    return JsonText::FindMember(element, "SECTORSIZE") != nullptr ? ToNumber<std::uint64_t>(element, "SECTORSIZE")
                                                                  : DEFAULT_SECTOR_SIZE;
}

} // namespace

Zav::StoragePool DecodeStoragePool(const Json::Value& element)
{
    Zav::StoragePool pool;
    const std::uint64_t sectorSize = SectorSize(element);
    pool.id = ToNumber<std::uint64_t>(element, "ID");
    pool.name = MemberText(element, "NAME");
    pool.description = MemberText(element, "DESCRIPTION");
    pool.totalCapacity = ToNumber<std::uint64_t>(element, "USERTOTALCAPACITY") * sectorSize;
    pool.freeCapacity = ToNumber<std::uint64_t>(element, "USERFREECAPACITY") * sectorSize;
    pool.consumedCapacity = ToNumber<std::uint64_t>(element, "USERCONSUMEDCAPACITY") * sectorSize;
    pool.healthStatus = ToNumber<std::uint32_t>(element, "HEALTHSTATUS");
    pool.usageType = MemberText(element, "USAGETYPE");
    return pool;
}

Zav::LunInfo DecodeLun(const Json::Value& element)
{
    Zav::LunInfo lun;
    const std::uint64_t sectorSize = SectorSize(element);
    lun.id = ToNumber<std::uint64_t>(element, "ID");
    lun.name = MemberText(element, "NAME");
    lun.wwn = MemberText(element, "WWN");
    lun.capacity = ToNumber<std::uint64_t>(element, "CAPACITY") * sectorSize;
    lun.healthStatus = ToNumber<std::uint32_t>(element, "HEALTHSTATUS");
    lun.parentId = ToNumber<std::uint64_t>(element, "PARENTID");
    lun.allocationType = ToNumber<std::uint32_t>(element, "ALLOCTYPE");
    return lun;
}

} // namespace InventoryJson

#ifndef PRODUCT_STORAGE_REST_INVENTORY_JSON_H
#define PRODUCT_STORAGE_REST_INVENTORY_JSON_H

#include "rest/inventory_records.h"

#include <json/value.h>

#include <cstdint>

/// Records of the array's inventory from its answers' elements. Both throw a std::exception whose text names the member
/// when `element` is no object or a number is missing or malformed.
namespace InventoryJson {

/// Bytes of what an element without SECTORSIZE counts its capacities in.
inline constexpr std::uint64_t DEFAULT_SECTOR_SIZE = 512;

Zav::StoragePool DecodeStoragePool(const Json::Value& element);
Zav::LunInfo DecodeLun(const Json::Value& element);

} // namespace InventoryJson

#endif

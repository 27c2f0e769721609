#ifndef PRODUCT_STORAGE_REST_OBJECT_TYPES_H
#define PRODUCT_STORAGE_REST_OBJECT_TYPES_H

/// The array's codes for the kinds of object, sent as decimal texts.
namespace ObjectType {

inline constexpr const char* LUN = "11";
inline constexpr const char* HOST_GROUP = "14";
inline constexpr const char* HOST = "21";
inline constexpr const char* SNAPSHOT = "27";
inline constexpr const char* ISCSI_INITIATOR = "222";
inline constexpr const char* FC_INITIATOR = "223";
inline constexpr const char* MAP_VIEW = "245";
inline constexpr const char* LUN_GROUP = "256";

} // namespace ObjectType

#endif

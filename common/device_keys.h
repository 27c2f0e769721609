#ifndef PRODUCT_STORAGE_COMMON_DEVICE_KEYS_H
#define PRODUCT_STORAGE_COMMON_DEVICE_KEYS_H

#include <string>

/// The vocabulary of the device-information file. The texts are the file's own: records written years ago bear them.
namespace DeviceKey {

inline const std::string ISCSI_INITIATOR_NAME = "ISCSIINITIATORNAME";
inline const std::string FC_INITIATOR_NAME = "FCINITIATORNAME";
inline const std::string LUN_GROUP_ID = "LUNGROUPID";
inline const std::string LUN_GROUP_NAME = "LUNGROUPNAME";
inline const std::string HOST_ID = "HOSTID";
inline const std::string HOST_NAME = "HOSTNAME";
inline const std::string HOST_GROUP_ID = "HOSTGROUPID";
inline const std::string HOST_GROUP_NAME = "HOSTGROUPNAME";
inline const std::string MAP_VIEW_ID = "MAPVIEWID";
inline const std::string MAP_VIEW_NAME = "MAPVIEWNAME";
inline const std::string DO_NOT_DELETE_HOST = "DONOTDELETEHOST";
inline const std::string IQN = "IQN";
inline const std::string PROTOCOL_TYPE = "PROTOCOLTYPE";

// Reserved words of the same family; nothing reads or writes them. No password is ever stored.
inline const std::string DEVICE_INFO = "DeviceInfo";
inline const std::string LOCAL_SESSION_USER_NAME = "LOCALSESSIONUSERNAME";
inline const std::string LOCAL_SESSION_PWD = "LOCALSESSIONPWD";
inline const std::string CONFIG_WRITER = "ConfigWriter";
inline const std::string PROPERTY_NOT_EXIST = "Error:THE_PROPERTY_NOT_EXIST";

} // namespace DeviceKey

/// Values of the device-information file and of DeviceMessage::doNotDeleteHost.
namespace DeviceWord {

inline const std::string DELETE_HOST = "DELETE"; ///< this system created the host and may delete it
inline const std::string NOT = "NOT";            ///< the host was there before; leave it
inline const std::string ISCSI = "iscsi";
inline const std::string FC = "fc";

} // namespace DeviceWord

#endif

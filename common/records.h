#ifndef PRODUCT_STORAGE_COMMON_RECORDS_H
#define PRODUCT_STORAGE_COMMON_RECORDS_H

#include <string>
#include <vector>

namespace Zav {

/// The identity of one logged-in array session. Token and cookie are secrets: who holds a copy wipes it.
struct SessionInfo {
    std::string baseUrl;  ///< protocol + "://" + address + ":" + port
    std::string deviceId; ///< key of the per-device map and of the device-information file
    std::string token;
    std::string cookie;
};

/// One array as the library addresses it.
struct DeviceInfo {
    std::string url; ///< protocol + "://" + address + ":" + port; the key of the session cache
    std::string user;
    std::string password;                  ///< plain; every holder wipes it
    std::string protocol;                  ///< "http" or "https"
    std::string port;                      ///< decimal
    std::string restApiArgument;           ///< handed to the ZavRestApi constructor; empty in records made here
    std::vector<std::string> storageIps;   ///< service addresses: the iSCSI targets
    std::vector<std::string> otherMgmtIps; ///< further management addresses, in the order in which they are tried
};

} // namespace Zav

/// What was provisioned on one array for this node.
struct DeviceMessage {
    std::string hostGroupId;
    std::string hostGroupName;
    std::string hostId;
    std::string hostName;
    std::string spare1; ///< unused; holds the record's layout
    std::string iscsiInitiatorName;
    std::string fcInitiatorName; ///< ";" before each port name
    std::string lunGroupId;
    std::string lunGroupName;
    std::string mapViewId;
    std::string mapViewName;
    std::string spare2;          ///< unused; holds the record's layout
    std::string doNotDeleteHost; ///< "DELETE", "NOT", or empty before either is known
};

/// CHAP credentials of an iSCSI login. This system configures none.
struct DevChAPInfo {
    std::string userName;
    std::string password;
};

#endif

#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_SAN_MANAGER_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_SAN_MANAGER_H

#include "common/framework/export.h"

#include <string>

/// Which handler a CDeviceManager hands out.
enum HANDLERTYPE {
    HANDLER_LUN_GROUP = 3,
    HANDLER_HOST = 4,
    HANDLER_HOST_GROUP = 5,
    HANDLER_MAPPING_VIEW = 6,
    HANDLER_ISCSI_INITIATOR = 7,
    HANDLER_FC_INITIATOR = 11,
};

/// The array's objects as the SAN management library holds them. A record given to Create needs its name (an initiator
/// its id); the record that comes back bears the id.
struct LunGroupMO {
    std::string id;
    std::string name;
};

struct HostMO {
    std::string id;
    std::string name;
};

struct HostGroupMO {
    std::string id;
    std::string name;
};

struct MappingViewMO {
    std::string id;
    std::string name;
};

struct IscsiInitiatorMO {
    std::string id; ///< the initiator's IQN
    std::string name;
    std::string parentId; ///< the host that it belongs to; empty when none
};

struct FCInitiatorMO {
    std::string id; ///< the port name, sixteen hexadecimal digits
    std::string name;
    std::string parentId; ///< the host that it belongs to; empty when none
};

/// A handler of one kind of array object. It belongs to its CDeviceManager and dies with it.
///
/// Each operation of the handlers below reports failure by throwing an exception derived from std::exception whose text
/// names the operation, the object and the array's answer. One thread at a time.
class PRODUCT_FRAMEWORK_API CHandler {
public:
    virtual ~CHandler() = default;
};

template <typename Record>
class PRODUCT_FRAMEWORK_API CRecordHandler : public CHandler {
public:
    /// Creates the object. An initiator that the array knows already is fetched instead.
    virtual Record Create(const Record& record) = 0;
    virtual Record Query(const std::string& id) = 0;
};

using CLunGroupHandler = CRecordHandler<LunGroupMO>;
using CHostHandler = CRecordHandler<HostMO>;

class PRODUCT_FRAMEWORK_API CHostGroupHandler : public CRecordHandler<HostGroupMO> {
public:
    virtual void AddHost(const std::string& hostId, const std::string& hostGroupId) = 0;
};

class PRODUCT_FRAMEWORK_API CMappingViewHandler : public CRecordHandler<MappingViewMO> {
public:
    virtual void AddHostGroup(const std::string& mapViewId, const std::string& hostGroupId) = 0;
    virtual void AddLunGroup(const std::string& mapViewId, const std::string& lunGroupId) = 0;
};

template <typename Record>
class PRODUCT_FRAMEWORK_API CInitiatorHandler : public CRecordHandler<Record> {
public:
    virtual void AddToHost(const Record& initiator, const std::string& hostId) = 0;
};

using CIscsiInitiatorHandler = CInitiatorHandler<IscsiInitiatorMO>;
using CFCInitiatorHandler = CInitiatorHandler<FCInitiatorMO>;

/// A handle of the SAN management library, attached to one array by Connect.
class PRODUCT_FRAMEWORK_API CDeviceManager {
public:
    /// A new handle, or null. The library always passes 0 and 500000, whose meaning is the product's.
    /// The caller gives it back with releaseInstance.
    static CDeviceManager* getInstance(unsigned int mode, unsigned int limit);

    /// Frees a handle and its handlers; null is no error.
    static void releaseInstance(CDeviceManager* manager);

    /// The handler for `type`; null when there is none. It belongs to the manager.
    virtual CHandler* GetHandler(HANDLERTYPE type) = 0;

    /// Attaches the handle to the management session that a login opened. False when the array does not take it. A
    /// `port` of 0 stands for that of http, and receives it.
    virtual bool Connect(const std::string& address, unsigned int& port, const std::string& deviceId,
                         const std::string& token, const std::string& cookie) = 0;

protected:
    virtual ~CDeviceManager() = default;
};

#endif

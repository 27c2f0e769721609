#include "device/device_operate.h"

#include "common/device_keys.h"
#include "common/log.h"
#include "device/device_info_record.h"
#include "device/log_module.h"

#include <exception>

namespace {

// Failures of the SAN library, and of looking up its handlers, are level-1 lines of the creation steps, on purpose:
// what drives them reports the failure of a group or view at level 4, and that of the host as one of the initiators.

// Gives the id. The line is there before anything else can fail: from here on the object is on the array.
template <typename Record>
std::string CreateNamed(std::string_view operation, const char* kind, CHandler& handler, const std::string& name)
{
    Record record;
    record.name = name;
    std::string id = dynamic_cast<CRecordHandler<Record>&>(handler).Create(record).id;
    PS_LOG_AS(operation, 2) << "created " << kind << " " << id << ", name " << name;
    return id;
}

} // namespace

/// One member of the family of creation steps.
struct DeviceOperate::Creation {
    const DeviceInfoRecord::Object& object;
    std::string_view operation = {};
    HANDLERTYPE type = HANDLER_HOST;
    const char* begin = nullptr;
    const char* failed = nullptr;
    const char* end = nullptr;
    bool isRecorded = false; ///< the file holds the new id
};

bool DeviceOperate::GetHandler(CDeviceManager* manager, CHandler** handler, HANDLERTYPE type)
{
    PS_LOG(1) << "begin get handler.";
    if (manager == nullptr) {
        PS_LOG(4) << "devicemanager pointer is null.";
        return false;
    }
    try {
        *handler = manager->GetHandler(type);
    } catch (const std::exception& error) {
        PS_LOG(4) << "get handler failed. oLib ex:" << error.what();
        return false;
    }
    if (*handler == nullptr) {
        PS_LOG(4) << "get handler failed, handler is null.";
        return false;
    }
    PS_LOG(1) << "get handler finish.";
    return true;
}

// `create` makes the object, and whatever belongs to it, and returns its id.
bool DeviceOperate::CreateObject(Creation& creation, const std::string& key, CDeviceManager* manager,
                                 const std::string& name, const std::function<std::string(CHandler&)>& create)
{
    PS_LOG_AS(creation.operation, 1) << creation.begin;
    if (manager == nullptr) {
        PS_LOG_AS(creation.operation, 4) << "devicemanager point is null.";
        return false;
    }
    CHandler* handler = nullptr;
    if (!GetHandler(manager, &handler, creation.type)) {
        PS_LOG_AS(creation.operation, 1) << "get handler failed.";
        return false;
    }
    std::string id;
    try {
        id = create(*handler);
    } catch (const std::exception& error) {
        PS_LOG_AS(creation.operation, 1) << creation.failed << error.what();
        return false;
    }
    std::map<std::string, std::string> info = {{creation.object.idKey, id}, {creation.object.nameKey, name}};
    creation.isRecorded = WriteInfoToJson(key, info); // a file that cannot be written does not stop provisioning
    m_deviceMessage.*creation.object.id = id;
    m_deviceMessage.*creation.object.name = name;
    PS_LOG_AS(creation.operation, 1) << creation.end;
    return true;
}

bool DeviceOperate::SetLunGroupInfo(std::string key, CDeviceManager* manager, const std::string& name,
                                    std::string& lunGroupId)
{
    Creation creation = {DeviceInfoRecord::ObjectOf(DeviceInfoRecord::Kind::LunGroup)};
    creation.operation = __func__;
    creation.type = HANDLER_LUN_GROUP;
    creation.begin = "begin create lun group.";
    creation.failed = "create lun group failed.oLib ex:";
    creation.end = "create lun group finish.";
    return CreateObject(creation, key, manager, name, [&](CHandler& handler) {
        return lunGroupId = CreateNamed<LunGroupMO>(creation.operation, "LUN group", handler, name);
    });
}

bool DeviceOperate::SetHostInfo(std::string key, CDeviceManager* manager, const std::string& name, std::string& hostId)
{
    Creation creation = {DeviceInfoRecord::ObjectOf(DeviceInfoRecord::Kind::Host)};
    creation.operation = __func__;
    creation.type = HANDLER_HOST;
    creation.begin = "begin create host.";
    creation.failed = "create host failed.oLib ex:";
    creation.end = "create host finish.";
    const bool isCreated = CreateObject(creation, key, manager, name, [&](CHandler& handler) {
        return hostId = CreateNamed<HostMO>(creation.operation, "host", handler, name);
    });
    if (creation.isRecorded) {
        // After the id, and only once the file holds it: a crash between the two writes, or a failed one, keeps the
        // host that the file names.
        DeviceInfoRecord::Forget(DeviceInfoRecord::SourceOf(*this), __func__, "The host is this node's own: forget ",
                                 key, {DeviceKey::DO_NOT_DELETE_HOST});
    }
    return isCreated;
}

bool DeviceOperate::SetHostGroupInfo(std::string key, CDeviceManager* manager, const std::string& name,
                                     const std::set<std::string>& hostIds, std::string& hostGroupId)
{
    Creation creation = {DeviceInfoRecord::ObjectOf(DeviceInfoRecord::Kind::HostGroup)};
    creation.operation = __func__;
    creation.type = HANDLER_HOST_GROUP;
    creation.begin = "begin create host group.";
    creation.failed = "create host group failed. oLib ex:";
    creation.end = "create host group finish.";
    return CreateObject(creation, key, manager, name, [&](CHandler& handler) {
        hostGroupId = CreateNamed<HostGroupMO>(creation.operation, "host group", handler, name);
        for (const std::string& hostId : hostIds) {
            dynamic_cast<CHostGroupHandler&>(handler).AddHost(hostId, hostGroupId);
        }
        return hostGroupId;
    });
}

bool DeviceOperate::SetMapViewInfo(std::string key, CDeviceManager* manager, const std::string& name,
                                   const std::string& firstGroupId, const std::string& secondGroupId)
{
    Creation creation = {DeviceInfoRecord::ObjectOf(DeviceInfoRecord::Kind::MapView)};
    creation.operation = __func__;
    creation.type = HANDLER_MAPPING_VIEW;
    creation.begin = "begin create mapview.";
    creation.failed = "create mapview failed.oLib ex:";
    creation.end = "create mapview finish.";
    return CreateObject(creation, key, manager, name, [&](CHandler& handler) {
        std::string mapViewId = CreateNamed<MappingViewMO>(creation.operation, "mapping view", handler, name);
        auto& views = dynamic_cast<CMappingViewHandler&>(handler);
        views.AddHostGroup(mapViewId, secondGroupId);
        views.AddLunGroup(mapViewId, firstGroupId);
        return mapViewId;
    });
}

#ifndef PRODUCT_STORAGE_DEVICE_DELETE_RESOURCE_H
#define PRODUCT_STORAGE_DEVICE_DELETE_RESOURCE_H

#include "common/export.h"
#include "common/records.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

class ZavRestApi;

/// Takes apart on an array what provisioning made for this node: mapping view, host group, host with its initiators,
/// the members of the LUN group, LUN group.
///
/// What is gone already counts as removed, so that a second run after a failure is harmless; so does what `message`
/// holds no id of, without a request. Results are 0, or the code of the array or of ZavRestApi. Only the array is
/// touched: the caller updates the device-information file. Threads: as ZavRestApi; the object itself holds no state
/// but the flag.
class PRODUCT_STORAGE_API DeleteResource {
public:
    DeleteResource() = default;
    DeleteResource(const DeleteResource&) = delete;
    DeleteResource& operator=(const DeleteResource&) = delete;
    /// Runs the steps in order and stops at the first that fails. `session` is not used.
    virtual int DeleteCreatedResource(const DeviceMessage& message, const Zav::SessionInfo& session,
                                      const boost::shared_ptr<ZavRestApi>& api);

    /// Removes the host's initiators, then the host. Here nothing counts as done but success.
    virtual int DeleteHost(const std::string& hostId, const boost::shared_ptr<ZavRestApi>& api);

    virtual int CheckAndDeleteMapView(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                      std::string& errorText);

    /// Takes all hosts out of the group, not only this node's.
    virtual int CheckAndDeleteHostGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                        std::string& errorText);

    /// Leaves a host that the array reports as member of a host group.
    virtual int CheckAndDeleteHost(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                   std::string& errorText);
    virtual int CheckAndDeleteLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                       std::string& errorText);

    /// -1 on any failure, whatever code the array gave; likewise GetSnapshotIdByLunGroup.
    virtual int GetLunIdByLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                   std::vector<std::string>& lunIds, std::string& errorText);

    /// Takes nothing out of a group that does not bear the recorded name: the array may have given the id to somebody
    /// else's group since. A LUN that cannot be removed does not fail the step, on purpose: deleting the group tells if
    /// it matters. Likewise RemoveSnapshotFromLunGroup.
    virtual int RemoveLunFromLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                      std::string& errorText);
    virtual int GetSnapshotIdByLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                        std::vector<std::string>& snapshotIds, std::string& errorText);
    virtual int RemoveSnapshotFromLunGroup(const DeviceMessage& message, const boost::shared_ptr<ZavRestApi>& api,
                                           std::string& errorText);

    virtual ~DeleteResource();

    /// Whether DeleteCreatedResource may remove the host and its initiators. Set by the owner before the call.
    bool m_deleteHost = false;

private:
    struct PRODUCT_STORAGE_LOCAL MemberKind;

    PRODUCT_STORAGE_LOCAL static int ListMembers(const MemberKind& kind, const std::string& lunGroupId,
                                                 const boost::shared_ptr<ZavRestApi>& api,
                                                 std::vector<std::string>& ids, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int RemoveMembers(const MemberKind& kind, const DeviceMessage& message,
                                            const boost::shared_ptr<ZavRestApi>& api, std::string& errorText);
};

#endif

#ifndef PRODUCT_STORAGE_DEVICE_DEVICE_OPERATE_H
#define PRODUCT_STORAGE_DEVICE_DEVICE_OPERATE_H

#include "common/export.h"
#include "common/framework/san_manager.h"
#include "common/records.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

class DeleteResource;
class ZavMapInfo;
class ZavRestApi;

/// Serialises every locked read and read-modify-write of a device-information file in this process.
/// So spelt: code outside the library locks it by this name.
extern PRODUCT_STORAGE_API boost::mutex g_infoFileMutext;

/// 1 when `text` equals an element of `list`, else 0.
PRODUCT_STORAGE_API int CheckContain(std::string text, std::vector<std::string>& list);

/// Provisions this node on one array and remembers what it made there, in memory and in the device-information file.
///
/// `key` names the array: its device id. `bool` results are true on success; a failure has been logged and leaves what
/// was made before it in place, on the array and in the file. An output that nothing is said of is unchanged after
/// false. Operations call each other through their virtual slots, so that a derived class can replace any step.
/// Exceptions: of the SAN library only those that are no std::exception pass; the JSON library's pass from a record
/// whose members are not texts; the thread library's lock error passes.
/// Threads: one object, one thread at a time; objects of different arrays may work at once. A CDeviceManager is only
/// used during the call that it is handed to.
class PRODUCT_STORAGE_API DeviceOperate {
public:
    DeviceOperate();
    DeviceOperate(const DeviceOperate&) = delete;
    DeviceOperate& operator=(const DeviceOperate&) = delete;
    virtual ~DeviceOperate();

    /// True when the key's record exists and is complete: a mapping view and an initiator name. Takes no lock.
    virtual bool ReadDeviceInfo(const std::string& key);

    /// What the object holds in memory, not what the file does; `session` is not used. The id is set even when the name
    /// is missing and the result false.
    virtual bool GetSelfMapviewInfo(const Zav::SessionInfo& session, std::string& mapViewId, std::string& mapViewName);
    virtual bool GetSelfLunGroupInfo(const Zav::SessionInfo& session, std::string& lunGroupId,
                                     std::string& lunGroupName);

    /// Appends the node's FC port names, without "0x". False, with nothing appended, when it has none.
    virtual bool GetFCInitor(std::vector<std::string>& wwpns);

    /// Appends the portal addresses of the node's logged-in iSCSI sessions. False, with nothing appended, when there is
    /// none.
    virtual bool GetLoginTargetIP(std::vector<std::string>& ips);

    /// Adds the members of the key's record to `info`; a key that `info` holds already keeps its value. True with
    /// nothing added when there is no file or record; false when the file is no JSON.
    virtual bool ReadInfoFromJson(const std::string& key, std::map<std::string, std::string>& info);

    /// A new object name: "Vendrix_" and `length` random characters of [0-9a-zA-Z_]. `length` must be below 1024.
    virtual bool GetRandStr(std::string& name, unsigned int length);

    /// Also takes the protection of an earlier host out of the record, once that holds the new id: in the file itself,
    /// which GetDeviceInfoCfgFile and ReadConfig lead to, not through WriteInfoToJson, which takes nothing out.
    virtual bool SetHostInfo(std::string key, CDeviceManager* manager, const std::string& name, std::string& hostId);

    /// False when one of the four recorded objects is known to be gone from the array.
    virtual bool CheckInitSub(const Zav::SessionInfo& session, const boost::shared_ptr<ZavRestApi>& api);

    /// True when what an earlier run provisioned still stands. When recorded objects are gone, what is left of them is
    /// removed. SetDeviceMessage must have been called before.
    virtual bool CheckInit(const Zav::SessionInfo& session, const std::vector<std::string>& targetIps,
                           const boost::shared_ptr<ZavRestApi>& api);

    /// `<directory above the executable's>/conf/<key>-info.conf`.
    virtual std::string GetDeviceInfoCfgFile(const std::string& key);

    /// Reads the file's lines joined without their ends; "{}" when there is nothing to read. Always true.
    virtual bool ReadConfig(std::string& path, std::string& content);

    /// Discovers and logs into the targets of one portal and records the protocol. 0, 1 (no client, unreachable, or not
    /// recorded) or the code of the failing iscsiadm. `chap` is not used.
    virtual int LoginIscsiTarget(const std::string& iqn, const std::string& targetIp, const std::string& key,
                                 DevChAPInfo& chap);

    virtual bool GetIscsiInitor(std::string& iqn);

    /// Of SetInitiatorInfo the part that is about iSCSI, and with the same outputs.
    virtual bool SetIscsiInitorInfo(std::string key, CDeviceManager* manager, const std::vector<std::string>& targetIps,
                                    std::string& hostId, std::string& hostName, std::set<std::string>& hostIds,
                                    bool createHost, const boost::shared_ptr<ZavRestApi>& api);

    virtual bool SetLunGroupInfo(std::string key, CDeviceManager* manager, const std::string& name,
                                 std::string& lunGroupId);

    /// `*handler` belongs to the manager. It is null after false when the manager has none, and unchanged without a
    /// manager.
    virtual bool GetHandler(CDeviceManager* manager, CHandler** handler, HANDLERTYPE type);

    /// Merges `info` into the key's record and rewrites the file. False, with the file untouched, when it is no JSON;
    /// false when it cannot be written.
    virtual bool WriteInfoToJson(const std::string& key, std::map<std::string, std::string>& info);

    /// Makes the mapping view of a LUN group, the first, and a host group.
    virtual bool SetMapViewInfo(std::string key, CDeviceManager* manager, const std::string& name,
                                const std::string& firstGroupId, const std::string& secondGroupId);

    /// Adds the node's initiators to a host on the array: by FC when a port is online, else by iSCSI. `hostIds`
    /// receives every host that carries one, but a given one whose ports are all offline where iSCSI has another. A
    /// host is only ever made under the name that `hostName` came with; where an initiator has a host already,
    /// `hostName` receives that one's name. After false the three outputs tell what was found and made until then:
    /// `hostId` and `hostIds` so that a host that stands is used and not made again.
    virtual bool SetInitiatorInfo(std::string key, CDeviceManager* manager, const std::vector<std::string>& targetIps,
                                  std::string& hostId, std::string& hostName, std::set<std::string>& hostIds,
                                  bool createHost, const boost::shared_ptr<ZavRestApi>& api);

    /// Of SetInitiatorInfo the part that is about FC, and with the same outputs, but that a host which it makes is in
    /// `hostId` alone. False when no port is online, too.
    virtual bool SetFCInitorInfo(std::string key, CDeviceManager* manager, std::string& hostId, std::string& hostName,
                                 std::set<std::string>& hostIds, bool createHost,
                                 const boost::shared_ptr<ZavRestApi>& api);

    /// The same for one port name, online or not.
    virtual bool CreateFCInitorOnDev(CDeviceManager* manager, const std::string& wwpn, std::string& hostId,
                                     std::string key, std::string& hostName, std::set<std::string>& hostIds,
                                     bool createHost, const boost::shared_ptr<ZavRestApi>& api);

    /// `hostGroupId` is that of the group also after false, when it was made but did not take all of `hostIds`; it is
    /// not recorded then.
    virtual bool SetHostGroupInfo(std::string key, CDeviceManager* manager, const std::string& name,
                                  const std::set<std::string>& hostIds, std::string& hostGroupId);

    /// Clears `info` and fills its nine lists with one entry each.
    virtual void AddZavMessage(ZavMapInfo& info, const std::string& key);

    /// Takes a record that ReadInfoFromJson read. Each id and name is taken only as a pair. Initiator names that `info`
    /// lacks are inserted into it as empty texts, on purpose.
    void SetDeviceMessage(std::map<std::string, std::string>& info);

    /// Records a host that was on the array before as not to be deleted, which zavctl's cleanup obeys; CheckInit looks
    /// for that mark under another key. `hostName` receives the array's name; where the array does not tell it, the
    /// name that the object holds of this host, or else it stays.
    void UpdateConfigFile(std::string key, const boost::shared_ptr<ZavRestApi>& api, const std::string& hostId,
                          std::string& hostName);

    /// Records the initiator and logs into the first target address that takes it.
    bool SetIscsiInitorInfoInner(std::string key, CDeviceManager* manager, const std::vector<std::string>& targetIps,
                                 const std::string& iqn, IscsiInitiatorMO& initiator, std::string& loginName);

    /// Puts the address part of an IPv6 address with port into brackets; anything with fewer than two ':' is left.
    std::string FormatUrl(const std::string& address);

private:
    struct PRODUCT_STORAGE_LOCAL Creation;
    struct PRODUCT_STORAGE_LOCAL InitiatorKind;
    struct PRODUCT_STORAGE_LOCAL HostChoice;

    PRODUCT_STORAGE_LOCAL bool CreateObject(Creation& creation, const std::string& key, CDeviceManager* manager,
                                            const std::string& name,
                                            const std::function<std::string(CHandler&)>& create);

    PRODUCT_STORAGE_LOCAL bool PlaceInitiator(const InitiatorKind& kind, const std::string& key,
                                              CDeviceManager* manager, const HostChoice& host,
                                              const std::string& parentId, std::string& goesTo);

    template <typename Record>
    PRODUCT_STORAGE_LOCAL bool AttachInitiator(const InitiatorKind& kind, const std::string& key,
                                               CDeviceManager* manager, const HostChoice& host, Record& initiator);

    PRODUCT_STORAGE_LOCAL bool ReachesPortal(const std::string& targetIp);
    PRODUCT_STORAGE_LOCAL bool NeedsFCInitiator(const boost::shared_ptr<ZavRestApi>& api, bool& isReachedByFC);
    PRODUCT_STORAGE_LOCAL bool IsLoggedIntoAnyOf(const std::vector<std::string>& targetIps);

    boost::shared_ptr<DeleteResource> m_deleteResource; // empty until CheckInit hands recorded objects to cleanup
    boost::mutex m_mutex;                               // never locked: g_infoFileMutext guards the file
    DeviceMessage m_deviceMessage;
};

#endif

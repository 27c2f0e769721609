#ifndef PRODUCT_STORAGE_DEVICE_DEVICE_SET_OPERATOR_H
#define PRODUCT_STORAGE_DEVICE_DEVICE_SET_OPERATOR_H

#include "common/export.h"
#include "common/records.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include <map>
#include <set>
#include <string>
#include <vector>

class CDeviceManager;
class DeviceOperate;
class EnvironmentPath;
class ZavMapInfo;
class ZavRestApi;

/// The process-wide set of arrays that this node is provisioned on: turns an environment into device records and drives
/// the provisioning of one device at a time.
///
/// Every failure is a false result (or an empty list) after an error line; what another library threw is told in a line
/// of its own. Nothing is thrown but the thread library's lock error, by whichever operation. Threads: any thread may
/// call what takes the lock or no state; see the members.
class PRODUCT_STORAGE_API DeviceSetOperator {
public:
    /// The one instance; built on first use, destroyed when the library is unloaded.
    static DeviceSetOperator* GetDeviceSetOperator();

    DeviceSetOperator(const DeviceSetOperator&) = delete;
    DeviceSetOperator& operator=(const DeviceSetOperator&) = delete;

    /// Id and name of this node's LUN group as the session's device-information file holds them. The id is set even
    /// when the name is missing and the result false.
    virtual bool GetSelfLunGroupInfo(const Zav::SessionInfo& session, std::string& lunGroupId,
                                     std::string& lunGroupName);

    /// Prepares this node on the session's array, or finds that it is prepared, and fills `mapInfo`. What a failed run
    /// made stays, on the array and in the file; the next run makes what is missing. One caller at a time.
    virtual bool InitDeviceSet(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                               const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo);

    /// Adds the members of the device's record to `info`; see DeviceOperate. False for a record whose members are not
    /// texts, too.
    virtual bool ReadInfoFromJson(const std::string& deviceId, std::map<std::string, std::string>& info);

    /// True, with `mapInfo` filled, when an earlier run's work still stands; forgets the device otherwise. The caller
    /// holds m_mutex.
    virtual bool PrepareAndCheckInit(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                     const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo);

    /// A copy, taken without the lock: not while another thread provisions.
    virtual std::map<std::string, boost::shared_ptr<DeviceOperate>> GetMapDeviceOperate();

    virtual void RemoveDeviceFromMap(const Zav::SessionInfo& session);

    /// Appends the file's lines, without their ends, to `content`, which becomes "{}" when it is empty then. Always
    /// true.
    virtual bool ReadConfig(std::string& path, std::string& content);

    /// Splits scheme://address[:port]. A port that is missing or no number gives 443 for https, else 0. False only
    /// without "://".
    virtual bool ExtractAddressInfo(const std::string& url, std::string& address, unsigned int& port);

    /// Attaches `*manager` to the session.
    virtual bool InitDeviceManager(const Zav::SessionInfo& session, CDeviceManager** manager);

    virtual ~DeviceSetOperator();

    /// A new SAN management handle; the caller releases it. May be null.
    CDeviceManager* GetDeviceManager();

    /// One logged-in array with its service addresses, or none with `ok` set to false. The caller sets `ok` to true
    /// beforehand and wipes the record's password.
    std::vector<Zav::DeviceInfo> GetAllDeviceInfo(const EnvironmentPath& env, bool& ok);

    /// Appends the environment's further management addresses to `info.otherMgmtIps`, and sets protocol and port where
    /// the environment holds exactly one of each.
    void GetAllOtherMgmtIPs(const EnvironmentPath& env, Zav::DeviceInfo& info);

    /// Creates host group, LUN group and mapping view, each only when `info` lacks its id. `position` is left at the
    /// last lookup in `info`; `result` holds the last step's result.
    bool InitDeviceSetInner(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                            std::map<std::string, std::string>& info, boost::shared_ptr<DeviceOperate> device,
                            CDeviceManager* manager, std::string& generatedName, const std::set<std::string>& hostIds,
                            std::map<std::string, std::string>::iterator& position, bool& result);

    std::string GetDeviceInfoCfgFile(const std::string& deviceId);

protected:
    /// For GetDeviceSetOperator and for classes that replace an operation.
    DeviceSetOperator();

private:
    // Both require m_mutex.
    PRODUCT_STORAGE_LOCAL bool InitLockedDeviceSet(const Zav::SessionInfo& session,
                                                   const std::vector<std::string>& storageIps,
                                                   const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo);
    PRODUCT_STORAGE_LOCAL bool ProvisionDevice(const Zav::SessionInfo& session,
                                               const std::vector<std::string>& storageIps,
                                               const boost::shared_ptr<ZavRestApi>& api, CDeviceManager* manager,
                                               boost::shared_ptr<DeviceOperate>& device, bool& result);

    boost::mutex m_mutex; // held across the whole of InitDeviceSet; before g_infoFileMutext
    std::map<std::string, boost::shared_ptr<DeviceOperate>> m_mapDeviceOperate; // guarded by m_mutex; by device id
};

#endif

#ifndef PRODUCT_STORAGE_CLI_PLAN_PLANNED_DEVICE_H
#define PRODUCT_STORAGE_CLI_PLAN_PLANNED_DEVICE_H

#include "cli/console/failure.h"
#include "cli/node/iscsi_sessions.h"
#include "cli/plan/init_plan.h"
#include "device/device_operate.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

/// The library's steps for this node, of which those that change it are replaced: record entries go into a map, and
/// logins are told. What is on the array, the CDeviceManager that it is handed changes, or does not.
class PlannedDevice : public DeviceOperate {
public:
    using Members = std::map<std::string, std::string>;

    /// `members` is the record as it will be; both must outlive it.
    PlannedDevice(Members& members, std::vector<PlanStep>& steps);

    /// False, on purpose: there is no file that holds it, and what would follow in the file does not.
    bool WriteInfoToJson(const std::string& key, std::map<std::string, std::string>& info) override;
    bool SetHostInfo(std::string key, CDeviceManager* manager, const std::string& name, std::string& hostId) override;
    int LoginIscsiTarget(const std::string& iqn, const std::string& targetIp, const std::string& key,
                         DevChAPInfo& chap) override;

    /// Those that stand, and those that would.
    bool GetLoginTargetIP(std::vector<std::string>& ips) override;

    /// Throws Failure where a login was to be planned, and iscsiadm does not tell which sessions stand. A node that
    /// goes by FC needs none.
    void RequireWantedSessions() const;

private:
    Members& m_members;
    std::vector<PlanStep>& m_steps;
    std::vector<IscsiSession> m_sessions;
    std::optional<Failure> m_whySessionsAreUnknown;
    bool m_areSessionsWanted = false;
    std::vector<std::string> m_plannedPortals;
};

#endif

#include "cli/plan/planned_device.h"

#include "common/device_keys.h"
#include "common/framework/config_reader.h"
#include "common/framework/http_client.h"

#include <algorithm>
#include <exception>

namespace {

// Whether the portal takes a connection, as the library sees it before it logs in.
bool IsReached(DeviceOperate& device, const std::string& targetIp)
{
    try {
        const boost::shared_ptr<QEN::IHttpClient> client = QEN::IHttpClient::CreateClient();
        const int timeout = ConfigReader::getInt("BackupNode", "TestNetTimeOut", true);
        return client != nullptr &&
               client->TestConnection(
                   "http://" + device.FormatUrl(targetIp + ":" + std::to_string(IscsiSessions::PORT)), timeout);
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

PlannedDevice::PlannedDevice(Members& members, std::vector<PlanStep>& steps)
    : m_members(members)
    , m_steps(steps)
{
    try {
        m_sessions = IscsiSessions::Standing();
    } catch (const Failure& failure) {
        m_whySessionsAreUnknown = failure;
    }
}

bool PlannedDevice::WriteInfoToJson(const std::string& /*key*/, std::map<std::string, std::string>& info)
{
    for (const auto& [name, value] : info) {
        m_members[name] = value;
    }
    return false;
}

bool PlannedDevice::SetHostInfo(std::string key, CDeviceManager* manager, const std::string& name, std::string& hostId)
{
    const bool isMade = DeviceOperate::SetHostInfo(key, manager, name, hostId);
    m_members.erase(DeviceKey::DO_NOT_DELETE_HOST); // which the library takes out of the file
    return isMade;
}

int PlannedDevice::LoginIscsiTarget(const std::string& iqn, const std::string& targetIp, const std::string& key,
                                    DevChAPInfo& /*chap*/)
{
    constexpr int NOT_DONE = 1;
    m_areSessionsWanted = true;
    if (m_whySessionsAreUnknown) {
        return NOT_DONE;
    }
    PlanStep step;
    step.place = PlanStep::Place::Node;
    step.kind = IscsiSession::KIND;
    step.id = targetIp;
    const auto session = std::find_if(m_sessions.begin(), m_sessions.end(),
                                      [&targetIp](const IscsiSession& each) { return each.IsAt(targetIp); });
    if (!IsReached(*this, targetIp)) {
        step.action = PlanStep::Action::Leave;
        step.why = "the portal takes no connection";
        m_steps.push_back(step);
        return NOT_DONE;
    }
    step.action = session == m_sessions.end() ? PlanStep::Action::Make : PlanStep::Action::Reuse;
    step.why = session == m_sessions.end() ? "this node is not logged in there" : "with " + session->target;
    m_steps.push_back(step);
    m_plannedPortals.push_back(targetIp);
    std::map<std::string, std::string> info = {{DeviceKey::IQN, iqn}, {DeviceKey::PROTOCOL_TYPE, DeviceWord::ISCSI}};
    WriteInfoToJson(key, info);
    return 0;
}

bool PlannedDevice::GetLoginTargetIP(std::vector<std::string>& ips)
{
    const bool isAnyThere = DeviceOperate::GetLoginTargetIP(ips);
    ips.insert(ips.end(), m_plannedPortals.begin(), m_plannedPortals.end());
    return isAnyThere || !m_plannedPortals.empty();
}

void PlannedDevice::RequireWantedSessions() const
{
    if (m_areSessionsWanted && m_whySessionsAreUnknown) {
        throw Failure(*m_whySessionsAreUnknown);
    }
}

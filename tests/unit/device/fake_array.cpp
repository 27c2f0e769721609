#include "tests/unit/device/fake_array.h"

FakeArray::FakeArray()
    : ZavRestApi("")
{
}

void FakeArray::Answer(const std::string& call, int code, const std::string& errorText)
{
    m_outcomes[call] = {code, errorText};
}

void FakeArray::HasNoLunGroup()
{
    for (const char* const operation :
         {"CheckLunGroup", "GetLunIdByLunGroup", "GetSnapshotIdByLunGroup", "DeleteLunGroup"}) {
        Answer(operation, 1077936861, "no such LUN group");
    }
}

int FakeArray::Perform(const std::string& operation, const std::vector<std::string>& input, std::string& errorText)
{
    std::string call = operation;
    for (const std::string& text : input) {
        call += " " + text;
    }
    m_calls.push_back(call);
    auto outcome = m_outcomes.find(call);
    if (outcome == m_outcomes.end()) {
        outcome = m_outcomes.find(operation);
    }
    if (outcome == m_outcomes.end()) {
        return 0;
    }
    if (!outcome->second.errorText.empty()) {
        errorText = outcome->second.errorText;
    }
    return outcome->second.code;
}

// As the real session does, a failed listing appends nothing and a successful one clears nothing.
int FakeArray::List(int code, const std::vector<std::string>& held, std::vector<std::string>& ids) const
{
    if (code == 0) {
        ids.insert(ids.end(), held.begin(), held.end());
    }
    return code;
}

bool FakeArray::GetSession(Zav::SessionInfo& session)
{
    if (m_session) {
        session = *m_session;
    }
    return m_session.has_value();
}

int FakeArray::GetHostName(const std::string& hostId, std::string& hostName, std::string& errorText)
{
    const int code = Perform("GetHostName", {hostId}, errorText);
    if (code == 0) {
        hostName = m_hostName;
    }
    return code;
}

int FakeArray::CheckLunGroup(const std::string& id, const std::string& name, std::string& errorText)
{
    return Perform("CheckLunGroup", {id, name}, errorText);
}

int FakeArray::CheckHost(const std::string& id, const std::string& name, std::string& errorText, bool& isAdded)
{
    isAdded = isAdded || m_isHostInGroup;
    return Perform("CheckHost", {id, name}, errorText);
}

int FakeArray::CheckHostGroup(const std::string& id, const std::string& name, std::string& errorText)
{
    return Perform("CheckHostGroup", {id, name}, errorText);
}

int FakeArray::CheckMapView(const std::string& id, const std::string& name, std::string& errorText)
{
    return Perform("CheckMapView", {id, name}, errorText);
}

int FakeArray::IsOnlineFCInitiator(const std::string& wwn, std::string& errorText)
{
    return Perform("IsOnlineFCInitiator", {wwn}, errorText);
}

int FakeArray::GetLunIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& ids, std::string& errorText)
{
    return List(Perform("GetLunIdByLunGroup", {lunGroupId}, errorText), m_luns, ids);
}

int FakeArray::GetSnapshotIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& ids,
                                       std::string& errorText)
{
    return List(Perform("GetSnapshotIdByLunGroup", {lunGroupId}, errorText), m_snapshots, ids);
}

int FakeArray::GetIscsiInitiator(std::vector<std::string>& ids, const std::string& hostId, std::string& errorText)
{
    return List(Perform("GetIscsiInitiator", {hostId}, errorText), m_iscsiInitiators, ids);
}

int FakeArray::GetFCInitiator(std::vector<std::string>& ids, const std::string& hostId, std::string& errorText)
{
    return List(Perform("GetFCInitiator", {hostId}, errorText), m_fcInitiators, ids);
}

int FakeArray::GetAllHostIDFromHostGroup(const std::string& hostGroupId, std::vector<std::string>& ids,
                                         std::string& errorText)
{
    return List(Perform("GetAllHostIDFromHostGroup", {hostGroupId}, errorText), m_hostsInGroup, ids);
}

int FakeArray::RemoveHostGroup(const std::string& hostGroupId, const std::string& mapViewId, std::string& errorText)
{
    return Perform("RemoveHostGroup", {hostGroupId, mapViewId}, errorText);
}

int FakeArray::RemoveLunGroup(const std::string& lunGroupId, const std::string& mapViewId, std::string& errorText)
{
    return Perform("RemoveLunGroup", {lunGroupId, mapViewId}, errorText);
}

int FakeArray::RemoveHost(const std::string& hostId, const std::string& hostGroupId, std::string& errorText)
{
    return Perform("RemoveHost", {hostId, hostGroupId}, errorText);
}

int FakeArray::RemoveIscsiInitiator(const std::string& id, std::string& errorText)
{
    return Perform("RemoveIscsiInitiator", {id}, errorText);
}

int FakeArray::RemoveFCInitiator(const std::string& id, std::string& errorText)
{
    return Perform("RemoveFCInitiator", {id}, errorText);
}

int FakeArray::RemoveLunFromLunGroup(const std::string& lunGroupId, std::string& lunId, std::string& errorText)
{
    return Perform("RemoveLunFromLunGroup", {lunGroupId, lunId}, errorText);
}

int FakeArray::RemoveSnapshotFromLunGroup(const std::string& lunGroupId, std::string& id, std::string& errorText)
{
    return Perform("RemoveSnapshotFromLunGroup", {lunGroupId, id}, errorText);
}

int FakeArray::DeleteMapView(const std::string& id, std::string& errorText)
{
    return Perform("DeleteMapView", {id}, errorText);
}

int FakeArray::DeleteHostGroup(const std::string& id, std::string& errorText)
{
    return Perform("DeleteHostGroup", {id}, errorText);
}

int FakeArray::DeleteLunGroup(const std::string& id, std::string& errorText)
{
    return Perform("DeleteLunGroup", {id}, errorText);
}

int FakeArray::DeleteHost(const std::string& id, std::string& errorText)
{
    return Perform("DeleteHost", {id}, errorText);
}

#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_FAKE_ARRAY_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_FAKE_ARRAY_H

#include "rest/zav_rest_api.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

/// The session of an array that answers by a table and keeps a list of what it was asked.
class FakeArray : public ZavRestApi {
public:
    FakeArray();

    /// `call` gives `code` from now on: an operation's name, or the name and what it is asked ("RemoveHost 12 5"),
    /// which goes first. With an error text that is set too. Every other call gives 0.
    void Answer(const std::string& call, int code, const std::string& errorText = "");

    /// The LUN group is gone: whatever is asked of it, its listings too, is answered with the array's code for that.
    void HasNoLunGroup();

    /// "CheckHost 12 host" and so on: the operation and its input in the order of its parameters.
    std::vector<std::string> Calls() const { return m_calls; }
    void ForgetCalls() { m_calls.clear(); }

    // What the array holds.
    std::string m_hostName = "host of the array"; // that GetHostName tells
    bool m_isHostInGroup = false;
    std::vector<std::string> m_hostsInGroup;
    std::vector<std::string> m_luns;
    std::vector<std::string> m_snapshots;
    std::vector<std::string> m_iscsiInitiators;
    std::vector<std::string> m_fcInitiators;

    std::optional<Zav::SessionInfo> m_session; // that GetSession tells; nothing: it is not logged in

    bool GetSession(Zav::SessionInfo& session) override;
    int GetHostName(const std::string& hostId, std::string& hostName, std::string& errorText) override;
    int CheckLunGroup(const std::string& id, const std::string& name, std::string& errorText) override;
    int CheckHost(const std::string& id, const std::string& name, std::string& errorText, bool& isAdded) override;
    int CheckHostGroup(const std::string& id, const std::string& name, std::string& errorText) override;
    int CheckMapView(const std::string& id, const std::string& name, std::string& errorText) override;
    int IsOnlineFCInitiator(const std::string& wwn, std::string& errorText) override;
    int GetLunIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& ids,
                           std::string& errorText) override;
    int GetSnapshotIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& ids,
                                std::string& errorText) override;
    int GetIscsiInitiator(std::vector<std::string>& ids, const std::string& hostId, std::string& errorText) override;
    int GetFCInitiator(std::vector<std::string>& ids, const std::string& hostId, std::string& errorText) override;
    int GetAllHostIDFromHostGroup(const std::string& hostGroupId, std::vector<std::string>& ids,
                                  std::string& errorText) override;
    int RemoveHostGroup(const std::string& hostGroupId, const std::string& mapViewId, std::string& errorText) override;
    int RemoveLunGroup(const std::string& lunGroupId, const std::string& mapViewId, std::string& errorText) override;
    int RemoveHost(const std::string& hostId, const std::string& hostGroupId, std::string& errorText) override;
    int RemoveIscsiInitiator(const std::string& id, std::string& errorText) override;
    int RemoveFCInitiator(const std::string& id, std::string& errorText) override;
    int RemoveLunFromLunGroup(const std::string& lunGroupId, std::string& lunId, std::string& errorText) override;
    int RemoveSnapshotFromLunGroup(const std::string& lunGroupId, std::string& id, std::string& errorText) override;
    int DeleteMapView(const std::string& id, std::string& errorText) override;
    int DeleteHostGroup(const std::string& id, std::string& errorText) override;
    int DeleteLunGroup(const std::string& id, std::string& errorText) override;
    int DeleteHost(const std::string& id, std::string& errorText) override;

private:
    struct Outcome {
        int code;
        std::string errorText;
    };

    int Perform(const std::string& operation, const std::vector<std::string>& input, std::string& errorText);
    int List(int code, const std::vector<std::string>& held, std::vector<std::string>& ids) const;

    std::map<std::string, Outcome> m_outcomes;
    std::vector<std::string> m_calls;
};

#endif

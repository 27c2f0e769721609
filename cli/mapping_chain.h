#ifndef PRODUCT_STORAGE_CLI_MAPPING_CHAIN_H
#define PRODUCT_STORAGE_CLI_MAPPING_CHAIN_H

#include "cli/array_login.h"
#include "cli/array_objects.h"
#include "common/records.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

class CDeviceManager;

/// What must stand on the array for the node to see LUNs: initiator → host → host group → mapping view ← LUN group,
/// each under the id and name that the record has.
class MappingChain {
public:
    /// `login` must outlive it.
    MappingChain(const ArrayLogin& login, DeviceMessage record);

    /// Reads the chain. An association that is missing between objects that stand is made, and said. Throws Failure
    /// with Drift naming each link that is broken otherwise, and what to do. Nothing is taken apart.
    void MendOrFail();

private:
    void CheckObject(const ObjectKind& kind, const std::string& id, const std::string& name);
    void CheckMember(const ObjectKind& container, const std::string& containerId, const ObjectKind& member,
                     const std::string& memberId, const std::function<void(CDeviceManager&)>& join);
    void RequireOwnHost();
    void CheckInitiators();
    void TellWhatIsNotOurs(const std::set<std::string>& recordedPorts, const std::vector<std::string>& ports,
                           const std::string& iqn);
    void CheckInitiator(const ObjectKind& kind, const std::string& id);
    bool IsInGroup(const std::string& hostId);
    void Mend(const std::string& link, const std::function<void(CDeviceManager&)>& join);
    void Break(const std::string& link) { m_broken.push_back(link); }

    const ArrayLogin& m_login;
    const boost::shared_ptr<ZavRestApi> m_api;
    const DeviceMessage m_record;
    ArrayObjects m_objects;
    std::size_t m_initiatorsInPlace = 0;
    std::vector<std::string> m_broken;
};

#endif

#ifndef PRODUCT_STORAGE_CLI_PREPARATION_MAPPING_CHAIN_H
#define PRODUCT_STORAGE_CLI_PREPARATION_MAPPING_CHAIN_H

#include "cli/array/array_login.h"
#include "cli/array/array_objects.h"
#include "common/records.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

class CDeviceManager;

/// Makes an association that the chain lacks.
class ChainMender {
public:
    using Join = std::function<void(CDeviceManager&)>;

    virtual ~ChainMender() = default;

    /// Has `join` work with a SAN library that is connected; `link` tells what is made. Throws std::exception when it
    /// cannot.
    virtual void Mend(const std::string& link, const Join& join) = 0;
};

/// What must stand on the array for the node to see LUNs: initiator → host → host group → mapping view ← LUN group,
/// each under the id and name that the record has.
class MappingChain {
public:
    /// `login` must outlive it.
    MappingChain(const ArrayLogin& login, DeviceMessage record);

    /// The same on other objects than the array's own, mended by somebody else; all must outlive it.
    MappingChain(const ArrayLogin& login, DeviceMessage record, ArrayObjects& objects, ChainMender& mender);

    /// Reads the chain. An association that is missing between objects that stand is made, and said. Throws Failure
    /// with Drift naming each link that is broken otherwise, and what to do. Nothing is taken apart.
    void MendOrFail();

private:
    void CheckObject(const ObjectKind& kind, const std::string& id, const std::string& name);
    void CheckMember(const ObjectKind& container, const std::string& containerId, const ObjectKind& member,
                     const std::string& memberId, const ChainMender::Join& join);
    void RequireOwnHost();
    void CheckInitiators();
    void TellWhatIsNotOurs(const std::set<std::string>& recordedPorts, const std::vector<std::string>& ports,
                           const std::string& iqn);
    void CheckInitiator(const ObjectKind& kind, const std::string& id);
    bool IsInGroup(const std::string& hostId);
    void Mend(const std::string& link, const ChainMender::Join& join);
    void Break(const std::string& link) { m_broken.push_back(link); }

    const ArrayLogin& m_login;
    const boost::shared_ptr<ZavRestApi> m_api;
    const std::unique_ptr<ArrayObjects> m_ownObjects; // empty where it got others
    const std::unique_ptr<ChainMender> m_ownMender;   // likewise
    ArrayObjects& m_objects;
    ChainMender& m_mender;
    const DeviceMessage m_record;
    std::size_t m_initiatorsInPlace = 0;
    std::vector<std::string> m_broken;
};

#endif

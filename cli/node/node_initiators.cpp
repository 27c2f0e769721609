#include "cli/node/node_initiators.h"

#include "device/device_operate.h"

#include <algorithm>

NodeInitiators NodeInitiators::Read()
{
    NodeInitiators initiators;
    DeviceOperate device;
    device.GetFCInitor(initiators.ports);
    device.GetIscsiInitor(initiators.iqn);
    return initiators;
}

bool NodeInitiators::Has(const std::string& id) const
{
    return (!iqn.empty() && id == iqn) || std::find(ports.begin(), ports.end(), id) != ports.end();
}

std::vector<NodeInitiators::Name> NodeInitiators::All() const
{
    std::vector<Name> all;
    all.reserve(ports.size() + 1);
    for (const std::string& port : ports) {
        all.push_back({&FC_INITIATOR, port});
    }
    if (!iqn.empty()) {
        all.push_back({&ISCSI_INITIATOR, iqn});
    }
    return all;
}

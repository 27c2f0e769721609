#include "cli/record/recorded_objects.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <vector>

std::set<std::string> RecordedPorts(const DeviceMessage& record)
{
    std::vector<std::string> pieces;
    boost::split(pieces, record.fcInitiatorName, boost::is_any_of(";"));
    std::set<std::string> names(pieces.begin(), pieces.end());
    names.erase("");
    return names;
}

std::array<RecordedObject, 4> RecordedObjects(const DeviceMessage& record)
{
    return {{{&MAPPING_VIEW, record.mapViewId, record.mapViewName},
             {&HOST_GROUP, record.hostGroupId, record.hostGroupName},
             {&HOST, record.hostId, record.hostName},
             {&LUN_GROUP, record.lunGroupId, record.lunGroupName}}};
}

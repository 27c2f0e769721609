#include "cli/record/recorded_objects.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <vector>

const std::array<RecordedKind, 4>& RecordedKinds()
{
    using DeviceInfoRecord::Kind;
    static const std::array<RecordedKind, 4> kinds = {{
        {&MAPPING_VIEW, DeviceInfoRecord::ObjectOf(Kind::MapView)},
        {&HOST_GROUP, DeviceInfoRecord::ObjectOf(Kind::HostGroup)},
        {&HOST, DeviceInfoRecord::ObjectOf(Kind::Host)},
        {&LUN_GROUP, DeviceInfoRecord::ObjectOf(Kind::LunGroup)},
    }};
    return kinds;
}

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
    const auto& kinds = RecordedKinds();
    return {kinds[0].In(record), kinds[1].In(record), kinds[2].In(record), kinds[3].In(record)};
}

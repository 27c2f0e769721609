#include "cli/recorded_objects.h"

std::array<RecordedObject, 4> RecordedObjects(const DeviceMessage& record)
{
    return {{{&MAPPING_VIEW, record.mapViewId, record.mapViewName},
             {&HOST_GROUP, record.hostGroupId, record.hostGroupName},
             {&HOST, record.hostId, record.hostName},
             {&LUN_GROUP, record.lunGroupId, record.lunGroupName}}};
}

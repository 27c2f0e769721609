#include "cli/record/provenance.h"

#include "cli/console/report.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "cli/record/recorded_objects.h"

namespace {

const char* Origin(const RecordedObject& object, const std::string& deviceId)
{
    if (!OwnJournal::IsKept()) {
        return "recorded";
    }
    return OwnJournal::Names(*object.kind, deviceId, object.id, object.name) ? "made" : "found on the array";
}

} // namespace

Provenance::Provenance(const std::string& deviceId)
    : m_deviceId(deviceId)
    , m_before(DeviceRecord(deviceId).Message())
{
}

void Provenance::Tell(bool tellsUnchanged) const
{
    const auto before = RecordedObjects(m_before);
    const auto now = RecordedObjects(DeviceRecord(m_deviceId).Message());
    for (std::size_t i = 0; i < now.size(); ++i) {
        const RecordedObject& object = now.at(i);
        const bool isUnchanged = before.at(i).id == object.id && before.at(i).name == object.name;
        if (!object.id.empty() && (tellsUnchanged || !isUnchanged)) {
            Report::Step(object.Naming() + ": " + (isUnchanged ? "unchanged" : Origin(object, m_deviceId)));
        }
    }
}

#include "cli/record/record_correction.h"

#include "cli/array/array_objects.h"
#include "cli/console/report.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "device/device_info_record.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

using DeviceInfoRecord::Kind;

/// The objects behind one mapping view, as the array and the journal tell.
class View {
public:
    View(ArrayObjects& array, const std::vector<OwnJournal::Entry>& made)
        : m_array(array)
        , m_made(made)
    {
    }

    bool Stands(const std::string& id, const std::string& name)
    {
        const auto view = m_array.Find(MAPPING_VIEW, id);
        return view && view->name == name;
    }

    /// The one of kind `other` that the object holds, when this node made it.
    std::optional<ArrayObject> OwnOne(const ObjectKind& kind, const std::string& id, const ObjectKind& other)
    {
        const std::vector<std::string> held = m_array.Associated(kind, id, other);
        const auto object = held.size() == 1 ? m_array.Find(other, held.front()) : std::nullopt;
        const bool isMade = object && std::any_of(m_made.begin(), m_made.end(), [&](const OwnJournal::Entry& entry) {
                                return entry.kind == other.words && entry.name == object->name &&
                                       (entry.id == object->id || entry.id.empty());
                            });
        return isMade ? object : std::nullopt;
    }

private:
    ArrayObjects& m_array;
    const std::vector<OwnJournal::Entry>& m_made;
};

} // namespace

std::vector<RecordCorrection> CorrectionsOf(DeviceMessage record, ArrayObjects& array,
                                            const std::vector<OwnJournal::Entry>& made)
{
    std::vector<RecordCorrection> corrections;
    View view(array, made);
    if (record.mapViewId.empty() || !view.Stands(record.mapViewId, record.mapViewName)) {
        return corrections;
    }
    struct Row {
        Kind kind;
        const ObjectKind* held;
        const ObjectKind* holder;
        const std::string& holderId; // of the row before, too
    };
    for (const Row& row : {Row{Kind::HostGroup, &HOST_GROUP, &MAPPING_VIEW, record.mapViewId},
                           Row{Kind::LunGroup, &LUN_GROUP, &MAPPING_VIEW, record.mapViewId},
                           Row{Kind::Host, &HOST, &HOST_GROUP, record.hostGroupId}}) {
        const DeviceInfoRecord::Object& object = DeviceInfoRecord::ObjectOf(row.kind);
        const auto found = row.holderId.empty() ? std::nullopt : view.OwnOne(*row.holder, row.holderId, *row.held);
        // A host that the library found is not the group's only one.
        const bool isRight = row.kind == Kind::Host && !(record.*object.id).empty();
        if (found && !isRight && found->id != record.*object.id) {
            record.*object.id = found->id;
            record.*object.name = found->name;
            corrections.push_back({{{object.idKey, found->id}, {object.nameKey, found->name}},
                                   "the record did not name " + row.held->Naming(found->id) + " (" + found->name +
                                       "), which mapping view " + record.mapViewId + " has"});
        }
    }
    return corrections;
}

void CorrectRecord(const ArrayLogin& login)
{
    const DeviceRecord record(login.DeviceId());
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    ArrayObjects array(*api, login.Device().url);
    for (const RecordCorrection& correction :
         CorrectionsOf(record.Message(), array, OwnJournal::Standing(login.DeviceId()))) {
        record.Enter(correction.members);
        Report::Step(correction.why + ": it was entered");
    }
}

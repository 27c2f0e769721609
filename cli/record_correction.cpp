#include "cli/record_correction.h"

#include "cli/array_objects.h"
#include "cli/device_record.h"
#include "cli/own_journal.h"
#include "cli/report.h"
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
    explicit View(const ArrayLogin& login)
        : m_api(login.Api())
        , m_array(*m_api, login.Device().url)
        , m_made(OwnJournal::Standing(login.DeviceId()))
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
    const boost::shared_ptr<ZavRestApi> m_api;
    ArrayObjects m_array;
    const std::vector<OwnJournal::Entry> m_made;
};

} // namespace

void CorrectRecord(const ArrayLogin& login)
{
    const DeviceRecord record(login.DeviceId());
    DeviceMessage message = record.Message();
    View view(login);
    if (message.mapViewId.empty() || !view.Stands(message.mapViewId, message.mapViewName)) {
        return;
    }
    struct Row {
        Kind kind;
        const ObjectKind* held;
        const ObjectKind* holder;
        const std::string& holderId; // of the row before, too
    };
    for (const Row& row : {Row{Kind::HostGroup, &HOST_GROUP, &MAPPING_VIEW, message.mapViewId},
                           Row{Kind::LunGroup, &LUN_GROUP, &MAPPING_VIEW, message.mapViewId},
                           Row{Kind::Host, &HOST, &HOST_GROUP, message.hostGroupId}}) {
        const DeviceInfoRecord::Object& object = DeviceInfoRecord::ObjectOf(row.kind);
        const auto found = row.holderId.empty() ? std::nullopt : view.OwnOne(*row.holder, row.holderId, *row.held);
        // A host that the library found is not the group's only one.
        const bool isRight = row.kind == Kind::Host && !(message.*object.id).empty();
        if (found && !isRight && found->id != message.*object.id) {
            message.*object.id = found->id;
            message.*object.name = found->name;
            record.Enter({{object.idKey, found->id}, {object.nameKey, found->name}});
            Report::Step("the record did not name " + std::string(row.held->words) + " " + found->id + " (" +
                         found->name + "), which mapping view " + message.mapViewId + " has: it was entered");
        }
    }
}

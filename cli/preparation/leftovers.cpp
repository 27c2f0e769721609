#include "cli/preparation/leftovers.h"

#include "cli/console/failure.h"
#include "cli/node/node_initiators.h"
#include "cli/record/recorded_objects.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <string_view>
#include <utility>

namespace {

constexpr std::string_view GENERATED_PREFIX = "Vendrix_";
constexpr std::int64_t MAY_STILL_COME = 600; // seconds that a request may be on its way to the array or within it

// In an order in which they can be taken apart, the host last, as it may stay.
constexpr std::array<const ObjectKind*, 4> KINDS = {&MAPPING_VIEW, &HOST_GROUP, &LUN_GROUP, &HOST};

} // namespace

Leftovers::Leftovers(const ArrayLogin& login, DeviceMessage record, Gone gone)
    : m_login(login)
    , m_api(login.Api())
    , m_ownArray(std::make_unique<ArrayObjects>(*m_api, login.Device().url))
    , m_array(*m_ownArray)
    , m_record(std::move(record))
    , m_entries(OwnJournal::Standing(login.DeviceId()))
{
    LookFor(gone);
}

Leftovers::Leftovers(const ArrayLogin& login, DeviceMessage record, ArrayObjects& array)
    : m_login(login)
    , m_api(login.Api())
    , m_array(array)
    , m_record(std::move(record))
    , m_entries(OwnJournal::Standing(login.DeviceId()))
{
    LookFor(Gone::Kept);
}

void Leftovers::LookFor(Gone gone)
{
    for (const ObjectKind* const kind : KINDS) {
        for (const OwnJournal::Entry& entry : m_entries) {
            if (entry.kind != kind->words || IsRecorded(*kind, entry.id, entry.name)) {
                continue;
            }
            std::string id = entry.id;
            if (id.empty()) { // nobody learned it
                const auto all = m_array.All(*kind);
                if (!all) {
                    continue; // the array does not list them: the entry stands until it does
                }
                const auto found = std::find_if(all->begin(), all->end(),
                                                [&entry](const ArrayObject& each) { return each.name == entry.name; });
                if (found == all->end() && std::time(nullptr) - entry.time < MAY_STILL_COME) {
                    continue;
                }
                id = found == all->end() ? "" : found->id;
            }
            const auto object = id.empty() ? std::nullopt : m_array.Find(*kind, id);
            if (object && object->name == entry.name) {
                m_objects.push_back({kind, id, entry.name, UsesOrDoubt(*kind, id)});
            } else if (gone == Gone::Forgotten) {
                OwnJournal::Drop(entry); // gone, or somebody else's since
            }
        }
    }
}

bool Leftovers::IsRecorded(const ObjectKind& kind, const std::string& id, const std::string& name) const
{
    return std::any_of(RecordedKinds().begin(), RecordedKinds().end(), [&](const RecordedKind& made) {
        return *made.kind == kind && m_record.*made.members.name == name &&
               (id.empty() || m_record.*made.members.id == id);
    });
}

bool Leftovers::Has(const Object& object) const
{
    return std::any_of(m_objects.begin(), m_objects.end(), [&object](const Object& each) {
        return *each.kind == *object.kind && each.id == object.id && each.name == object.name;
    });
}

bool Leftovers::IsMine(const ObjectKind& kind, const std::string& id) const
{
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const OwnJournal::Entry& entry) { return entry.kind == kind.words && entry.id == id; }) ||
           std::any_of(m_objects.begin(), m_objects.end(), // whose ids the journal may not know
                       [&](const Object& object) { return *object.kind == kind && object.id == id; });
}

std::vector<Leftovers::Object> Leftovers::OfOthers()
{
    std::vector<Object> others;
    for (const ObjectKind* const kind : KINDS) {
        for (const ArrayObject& each : m_array.Listed(*kind)) {
            const Object object = {kind, each.id, each.name, {}};
            if (each.name.rfind(GENERATED_PREFIX, 0) == 0 && !Has(object) && !IsRecorded(*kind, each.id, each.name)) {
                others.push_back(object);
            }
        }
    }
    return others;
}

// `by` tells what ties it to this node.
void Leftovers::AddTied(const ObjectKind& kind, const std::string& id, const std::string& by, std::vector<Object>& tied)
{
    const bool isKnown = std::any_of(tied.begin(), tied.end(),
                                     [&](const Object& object) { return *object.kind == kind && object.id == id; });
    const auto object = isKnown ? std::nullopt : m_array.Find(kind, id);
    if (object && !IsMine(kind, id) && !IsRecorded(kind, id, object->name)) {
        tied.push_back({&kind, id, object->name, {by}});
    }
}

std::vector<Leftovers::Object> Leftovers::OfThisNodesInitiators()
{
    std::vector<Object> tied;
    for (const auto& [kind, initiator] : NodeInitiators::Read().All()) {
        const auto found = m_array.Find(*kind, initiator);
        if (!found || found->parentId.empty()) {
            continue;
        }
        const std::string& host = found->parentId;
        AddTied(HOST, host, HoldingOf(*kind, initiator), tied);
        for (const std::string& hostGroup : m_array.Associated(HOST, host, HOST_GROUP)) {
            AddTied(HOST_GROUP, hostGroup, HoldingOf(HOST, host), tied);
            for (const std::string& view : m_array.Associated(HOST_GROUP, hostGroup, MAPPING_VIEW)) {
                AddTied(MAPPING_VIEW, view, HoldingOf(HOST_GROUP, hostGroup), tied);
                for (const std::string& lunGroup : m_array.Associated(MAPPING_VIEW, view, LUN_GROUP)) {
                    AddTied(LUN_GROUP, lunGroup, "is in mapping view " + view, tied);
                }
            }
        }
    }
    return tied;
}

std::string Leftovers::UrlAnd(const ObjectKind& kind, const std::string& id) const
{
    return m_login.Device().url + ": " + kind.Naming(id);
}

Leftovers::Object Leftovers::OneOfOthers(const ObjectKind& kind, const std::string& id)
{
    const std::string naming = UrlAnd(kind, id);
    const auto object = m_array.Find(kind, id);
    if (!object || object->id != id) { // an array may read "07" as 7
        throw Failure(ExitCode::NotFound, m_login.Device().url + ": there is no " + kind.Naming(id));
    }
    if (IsRecorded(kind, id, object->name)) {
        throw Failure(ExitCode::Foreign, naming + " (" + object->name + ") is this node's record's: it is in use here");
    }
    if (object->name.rfind(GENERATED_PREFIX, 0) != 0) {
        throw Failure(ExitCode::Foreign, naming + " (" + object->name + ") bears no name that this product makes");
    }
    return {&kind, id, object->name, TiesOf(kind, id)};
}

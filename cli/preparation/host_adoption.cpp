#include "cli/preparation/host_adoption.h"

#include "cli/array/array_objects.h"
#include "cli/console/failure.h"
#include "cli/node/node_initiators.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

/// One of this node's initiators, and the host that it is on.
struct Placed {
    const ObjectKind* kind;
    std::string initiator;
    std::string hostId;
};

std::vector<Placed> InitiatorsToPlace()
{
    const std::vector<NodeInitiators::Name> names = NodeInitiators::Read().All();
    std::vector<Placed> initiators;
    initiators.reserve(names.size());
    for (const NodeInitiators::Name& name : names) {
        initiators.push_back({name.kind, name.id, ""});
    }
    return initiators;
}

void RequireOwnHost(const Placed& placed, const ArrayLogin& login, ArrayObjects& objects)
{
    const auto host = objects.Find(HOST, placed.hostId);
    if (host && !OwnJournal::Names(HOST, login.DeviceId(), host->id, host->name)) {
        throw Failure(ExitCode::Foreign, login.Device().url + ": this node's " + placed.kind->Naming(placed.initiator) +
                                             " is on host " + host->id + " (" + host->name +
                                             "), which was not made here; nothing was changed");
    }
}

void RequireNoOthers(const Placed& placed, const std::vector<Placed>& own, const std::string& url,
                     ArrayObjects& objects)
{
    for (const ObjectKind& kind : {ISCSI_INITIATOR, FC_INITIATOR}) {
        for (const std::string& each : objects.Initiators(kind, placed.hostId)) {
            const bool isOwn = std::any_of(own.begin(), own.end(),
                                           [&each](const Placed& initiator) { return initiator.initiator == each; });
            if (!isOwn) {
                throw Failure(ExitCode::Foreign, url + ": " + placed.kind->Naming(placed.initiator) + " is on host " +
                                                     placed.hostId + ", which holds " + kind.Naming(each) +
                                                     " as well, which is not this node's; nothing was changed");
            }
        }
    }
}

} // namespace

void RequireHostToUse(const ArrayLogin& login, bool adopts)
{
    const bool isHostRecorded = !DeviceRecord(login.DeviceId()).Message().hostId.empty(); // it was decided on before
    if (adopts && isHostRecorded) {
        return;
    }
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    ArrayObjects objects(*api, login.Device().url);
    const std::vector<Placed> own = InitiatorsToPlace();
    for (Placed placed : own) {
        const auto found = objects.Find(*placed.kind, placed.initiator);
        if (!found || found->parentId.empty()) {
            continue;
        }
        placed.hostId = found->parentId;
        if (!adopts) {
            RequireOwnHost(placed, login, objects);
        }
        if (!isHostRecorded) {
            RequireNoOthers(placed, own, login.Device().url, objects);
        }
    }
}

#include "cli/preparation/preparation.h"

#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/node/node_lock.h"
#include "cli/preparation/host_adoption.h"
#include "cli/preparation/leftovers.h"
#include "cli/preparation/library_check.h"
#include "cli/preparation/mapping_chain.h"
#include "cli/preparation/node_check.h"
#include "cli/record/device_record.h"
#include "cli/record/own_sessions.h"
#include "cli/record/provenance.h"
#include "cli/record/record_correction.h"
#include "disklib/zav_storage_disk_lib.h"

namespace Preparation {

namespace {

// What earlier runs left behind goes, as long as nobody uses it; what somebody uses is told, unless a round before did
// that. The node is prepared whatever becomes of it.
void RemoveIdleLeftovers(const ArrayLogin& login, bool tellsUsed)
{
    try {
        Leftovers leftovers(login, DeviceRecord(login.DeviceId()).Message());
        for (const Leftovers::Object& object : leftovers.Objects()) {
            const std::string naming = object.Naming();
            if (object.inUse.empty()) {
                leftovers.Remove(object);
                Report::Step("removed what an earlier run left: " + naming);
            } else if (tellsUsed) {
                Report::Tell("left by an earlier run, and in use: " + naming + ": " + object.inUse.front() +
                             "; zavctl tidy takes it apart");
            }
        }
    } catch (const Failure& failure) {
        Report::Tell(failure.what());
    }
}

// An array that cannot be asked is told as one that the library cannot work with.
template <typename Ask>
auto AskArray(const Target& target, const Ask& ask)
{
    try {
        return ask();
    } catch (const Failure& failure) {
        const std::string why = failure.what();
        if (why.rfind(target.login->Device().url + ": cannot read ", 0) != 0) {
            throw;
        }
        throw failure.Behind(target.name + ": this node could not be prepared on ");
    }
}

// False where the library could not do its work.
bool MakeWhatIsMissing(const Target& target, ZavMapInfo& info)
{
    const OwnSessions::Begin sessions(*target.login);
    LibraryCheck::Forget(*target.login);
    return ZavStorageDiskLib::GetInstance()->Init(target.env, info);
}

// What the library made is in `info`, also where the node is not rightly prepared.
void Prepare(const Target& target, const Wishes& wishes, ZavMapInfo& info)
{
    const ArrayLogin& login = *target.login;
    // Held, so that Init finds it, which does not tell a refused login from other failures.
    const boost::shared_ptr<ZavRestApi> session = target.login->Renew(target.name, target.env);
    NodeCheck::RequireUsableRecord(login);
    AskArray(target, [&] { RequireHostToUse(login, wishes.adopts); });
    const Provenance provenance(login.DeviceId());
    const bool isFound = AskArray(target, [&] { return LibraryCheck::FindsPrepared(login, info); });
    const bool isDone = isFound || MakeWhatIsMissing(target, info);
    const bool tellsUsed = wishes.tellsUnchanged || !isFound;
    const NodeLock lock(DeviceRecord(login.DeviceId()).Path());
    try {
        if (!isDone) {
            throw Failure::OfLibrary(target.name + ": this node could not be prepared on " + login.Device().url);
        }
        CorrectRecord(login);
        MappingChain(login, DeviceRecord(login.DeviceId()).Message()).MendOrFail();
        NodeCheck::RequireConnectedNode(login);
    } catch (const Failure&) {
        // What was made, and not recorded because it failed, is not left to pile up.
        RemoveIdleLeftovers(login, tellsUsed);
        throw;
    }
    provenance.Tell(wishes.tellsUnchanged);
    RemoveIdleLeftovers(login, tellsUsed);
}

template <typename Work>
void Try(const Target& target, LogTail& log, Outcome& outcome, const Work& work)
{
    const Report::About about(target.name);
    log.Take(); // of what went before
    try {
        work();
    } catch (const Failure& failure) {
        outcome.failures.emplace(&target, Explain(failure, log.Take()));
    }
}

} // namespace

ExitCode Outcome::Code(std::size_t targets) const
{
    return failures.empty()             ? ExitCode::Done
           : failures.size() == targets ? failures.begin()->second.exit
                                        : ExitCode::Partly;
}

Outcome LogIntoAll(std::vector<Target>& targets, LogTail& log)
{
    Outcome outcome;
    for (Target& target : targets) {
        if (target.refusal) {
            outcome.failures.emplace(&target, *target.refusal);
        } else if (target.login == nullptr) {
            Try(target, log, outcome,
                [&target] { target.login = std::make_unique<ArrayLogin>(target.name, target.env); });
        }
    }
    return outcome;
}

void PrepareAll(const std::vector<Target>& targets, const Wishes& wishes, LogTail& log, Outcome& outcome)
{
    for (const Target& target : targets) {
        if (target.login != nullptr && !target.refusal) {
            Try(target, log, outcome, [&] {
                ZavMapInfo info;
                try {
                    Prepare(target, wishes, info);
                } catch (const Failure& failure) {
                    if (failure.Code() == ExitCode::Drift) {
                        outcome.infos.push_back(info);
                    }
                    throw;
                }
                outcome.infos.push_back(info);
            });
        }
    }
}

} // namespace Preparation

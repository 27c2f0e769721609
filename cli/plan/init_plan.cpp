#include "cli/plan/init_plan.h"

#include "cli/node/fc_ports.h"
#include "cli/plan/planned_array.h"
#include "cli/plan/planned_device.h"
#include "cli/plan/planned_manager.h"
#include "cli/preparation/host_adoption.h"
#include "cli/preparation/leftovers.h"
#include "cli/preparation/mapping_chain.h"
#include "cli/preparation/node_check.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "cli/record/record_correction.h"
#include "cli/record/recorded_objects.h"
#include "common/device_keys.h"
#include "common/log.h"
#include "device/device_info_record.h"
#include "device/device_set_operator.h"
#include "rest/zav_rest_api.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <set>
#include <utility>

namespace {

const std::string LOG_MODULE = "zavctl";

using Action = PlanStep::Action;
using Place = PlanStep::Place;
using Members = PlannedDevice::Members;

// An FC port that the array does not know yet.
bool IsNewPort(const PlanStep& step)
{
    return step.action == Action::Make && step.kind == FC_INITIATOR.words;
}

/// The session, with a guess where the array cannot say yet: whether it sees an FC port online that it does not know,
/// shows only when it was made known. The port's link is taken for it.
class GuessingApi : public ZavRestApi {
public:
    GuessingApi(boost::shared_ptr<ZavRestApi> api, const std::vector<PlanStep>& steps)
        : ZavRestApi("")
        , m_api(std::move(api))
        , m_steps(steps)
    {
    }

    int GetHostName(const std::string& hostId, std::string& hostName, std::string& errorText) override
    {
        return m_api->GetHostName(hostId, hostName, errorText);
    }

    int IsOnlineFCInitiator(const std::string& wwn, std::string& errorText) override
    {
        const bool isUnknown = std::any_of(m_steps.begin(), m_steps.end(),
                                           [&wwn](const PlanStep& step) { return IsNewPort(step) && step.id == wwn; });
        if (!isUnknown) {
            return m_api->IsOnlineFCInitiator(wwn, errorText);
        }
        return FcPorts::IsLinkUp(wwn) ? ResultCode::OK : ResultCode::FAILED;
    }

private:
    const boost::shared_ptr<ZavRestApi> m_api;
    const std::vector<PlanStep>& m_steps;
};

/// Mends on what is planned.
class PlannedMender : public ChainMender {
public:
    explicit PlannedMender(PlannedManager& manager)
        : m_manager(manager)
    {
    }

    void Mend(const std::string& /*link*/, const Join& join) override { join(m_manager); }

private:
    PlannedManager& m_manager;
};

PlanStep StepOf(Place place, Action action, const std::string& kind, const std::string& id, const std::string& name,
                const std::string& why)
{
    PlanStep step;
    step.place = place;
    step.action = action;
    step.kind = kind;
    step.id = id;
    step.name = name;
    step.why = why;
    return step;
}

// What stands is told first, then what would be done in the order in which it would, then what is left over.
int RankOf(const PlanStep& step)
{
    if (step.place != Place::Array) {
        return 2;
    }
    switch (step.action) {
    case Action::Reuse:
    case Action::Adopt:
        return 0;
    case Action::Remove:
    case Action::Leave:
        return 3;
    default:
        return 1;
    }
}

/// One plan.
class Planner {
public:
    explicit Planner(const ArrayLogin& login)
        : m_login(login)
        , m_api(login.Api())
        , m_guessingApi(boost::make_shared<GuessingApi>(m_api, m_plan.steps))
        , m_array(*m_api, login.Device().url)
        , m_before(DeviceRecord(login.DeviceId()).Members())
        , m_members(m_before)
    {
    }

    InitPlan Make()
    {
        Provision();
        Finish();
        TellObjects();
        TellRecord();
        TellLeftovers();
        std::stable_sort(m_plan.steps.begin(), m_plan.steps.end(),
                         [](const PlanStep& one, const PlanStep& other) { return RankOf(one) < RankOf(other); });
        return std::move(m_plan);
    }

private:
    // What DeviceSetOperator does with a device that this process has not provisioned, by the same steps of the
    // library.
    void Provision()
    {
        const std::string& key = m_login.DeviceId();
        m_device = boost::make_shared<PlannedDevice>(m_members, m_plan.steps);
        Members info = m_members;
        m_device->SetDeviceMessage(info);
        Zav::SessionInfo session;
        session.deviceId = key;
        PS_LOG(2) << "What follows is planned, and not done: " << PlannedArray::NEW
                  << " stands for what would be made.";
        std::string why = "none is recorded";
        if (!m_device->CheckInitSub(session, m_api)) {
            why = "all is made anew: " + WhatIsGone();
            info.clear();
            for (const std::string& name : DeviceInfoRecord::KeysOfWhatIsOnTheArray()) {
                m_members.erase(name);
            }
            m_device = boost::make_shared<PlannedDevice>(m_members, m_plan.steps);
        }
        PlannedManager manager(m_array, m_plan.steps, Action::Join, why);
        auto position = info.find(DeviceKey::HOST_ID);
        const bool createsHost = position == info.end();
        std::string hostId = createsHost ? "" : position->second;
        std::string hostName = PlannedArray::NEW;
        std::string generatedName = hostName;
        std::set<std::string> hostIds;
        const std::vector<std::string>& portals = m_login.Device().storageIps;
        m_device->SetInitiatorInfo(key, &manager, portals, hostId, hostName, hostIds, createsHost, m_guessingApi);
        bool result = true;
        DeviceSetOperator::GetDeviceSetOperator()->InitDeviceSetInner(session, portals, info, m_device, &manager,
                                                                      generatedName, hostIds, position, result);
        PS_LOG(2) << "What was planned ends here.";
        manager.RequireRead();
        m_device->RequireWantedSessions();
        for (PlanStep& step : m_plan.steps) {
            if (IsNewPort(step)) {
                step.why += FcPorts::IsLinkUp(step.id) ? "; its link is up: taken for online" : "; its link is down";
            }
        }
    }

    // What zavctl does behind the library.
    void Finish()
    {
        std::vector<OwnJournal::Entry> made = OwnJournal::Standing(m_login.DeviceId());
        for (const PlanStep& step : m_plan.steps) {
            if (step.action == Action::Make && step.id == PlannedArray::NEW) {
                made.push_back({m_login.DeviceId(), step.kind, PlannedArray::NEW, PlannedArray::NEW});
            }
        }
        for (const RecordCorrection& correction : CorrectionsOf(DeviceRecord::MessageOf(m_members), m_array, made)) {
            for (const auto& [name, value] : correction.members) {
                m_members[name] = value;
                m_reasons[name] = correction.why;
            }
        }
        const DeviceMessage record = DeviceRecord::MessageOf(m_members);
        PlannedManager manager(m_array, m_plan.steps, Action::Mend, "");
        PlannedMender mender(manager);
        try {
            MappingChain(m_login, record, m_array, mender).MendOrFail();
            manager.RequireRead();
            NodeCheck::RequirePath(m_login, *m_device, *m_guessingApi, m_array, record.hostGroupId);
        } catch (const Failure& failure) {
            if (failure.Code() != ExitCode::Drift) {
                throw;
            }
            m_plan.end = Failure(ExitCode::Drift, failure.what());
        }
    }

    std::string WhatIsGone()
    {
        for (const RecordedObject& object : RecordedObjects(DeviceRecord::MessageOf(m_before))) {
            const auto found = object.id.empty() ? std::nullopt : m_array.Find(*object.kind, object.id);
            if (!object.id.empty() && !found) {
                return object.Naming() + " is gone";
            }
            if (found && found->name != object.name) {
                return object.Naming() + " is called \"" + found->name + "\"";
            }
        }
        return "what is recorded does not stand";
    }

    // Those that the record would name and that are not made.
    void TellObjects()
    {
        const auto before = RecordedObjects(DeviceRecord::MessageOf(m_before));
        const auto after = RecordedObjects(DeviceRecord::MessageOf(m_members));
        for (std::size_t i = 0; i < after.size(); ++i) {
            const RecordedObject& object = after.at(i);
            if (object.id.empty() || object.id == PlannedArray::NEW) {
                continue;
            }
            const bool isUnchanged = before.at(i).id == object.id && before.at(i).name == object.name;
            const bool isOwn = OwnJournal::Names(*object.kind, m_login.DeviceId(), object.id, object.name);
            m_plan.steps.push_back(StepOf(Place::Array, isUnchanged || isOwn ? Action::Reuse : Action::Adopt,
                                          std::string(object.kind->words), object.id, object.name,
                                          isUnchanged ? "recorded"
                                          : isOwn     ? "this node made it"
                                                      : "it holds this node's initiator, and was not made here"));
        }
    }

    void TellRecord()
    {
        for (const auto& [name, value] : m_members) {
            const auto was = m_before.find(name);
            if (was == m_before.end() || was->second != value) {
                const auto reason = m_reasons.find(name);
                m_plan.steps.push_back(StepOf(Place::Record, Action::Enter, "record entry", name, value,
                                              reason != m_reasons.end() ? reason->second
                                              : was == m_before.end()   ? WhyEntered(name)
                                                                        : "was " + was->second));
            }
        }
        for (const auto& [name, value] : m_before) {
            if (m_members.count(name) == 0) {
                m_plan.steps.push_back(StepOf(Place::Record, Action::Forget, "record entry", name, "", "was " + value));
            }
        }
    }

    static std::string WhyEntered(const std::string& name)
    {
        return name == DeviceKey::DO_NOT_DELETE_HOST ? "the host has this node's initiator already: cleanup leaves it"
                                                     : "";
    }

    void TellLeftovers()
    {
        const Leftovers leftovers(m_login, DeviceRecord::MessageOf(m_members), m_array);
        for (const Leftovers::Object& object : leftovers.Objects()) {
            const bool isIdle = object.inUse.empty();
            m_plan.steps.push_back(
                StepOf(Place::Array, isIdle ? Action::Remove : Action::Leave, std::string(object.kind->words),
                       object.id, object.name,
                       isIdle ? "an earlier run left it" : "an earlier run left it, and it " + object.inUse.front()));
        }
    }

    const ArrayLogin& m_login;
    InitPlan m_plan;
    const boost::shared_ptr<ZavRestApi> m_api;
    const boost::shared_ptr<ZavRestApi> m_guessingApi;
    PlannedArray m_array;
    const Members m_before;
    Members m_members;                            // as the record would be
    std::map<std::string, std::string> m_reasons; // of its members
    boost::shared_ptr<PlannedDevice> m_device;
};

} // namespace

bool PlanStep::Changes() const noexcept
{
    return action != Action::Adopt && action != Action::Reuse && action != Action::Leave;
}

const char* WordOf(PlanStep::Action action) noexcept
{
    switch (action) {
    case Action::Make:
        return "make";
    case Action::Join:
        return "join";
    case Action::Mend:
        return "mend";
    case Action::Adopt:
        return "adopt";
    case Action::Reuse:
        return "reuse";
    case Action::Enter:
        return "enter";
    case Action::Forget:
        return "forget";
    case Action::Remove:
        return "remove";
    case Action::Leave:
        return "leave";
    }
    return "";
}

const char* WordOf(PlanStep::Place place) noexcept
{
    switch (place) {
    case Place::Array:
        return "array";
    case Place::Node:
        return "node";
    case Place::Record:
        return "record";
    }
    return "";
}

bool InitPlan::ChangesAnything() const
{
    return std::any_of(steps.begin(), steps.end(), [](const PlanStep& step) { return step.Changes(); });
}

InitPlan PlanInit(const ArrayLogin& login, bool adopts)
{
    NodeCheck::RequireUsableRecord(login);
    RequireHostToUse(login, adopts);
    return Planner(login).Make();
}

#ifndef ZAVSIM_ADMIN_ADMIN_SERVICE_H
#define ZAVSIM_ADMIN_ADMIN_SERVICE_H

#include "simulator/array/array_system.h"
#include "simulator/cluster/cluster_system.h"
#include "simulator/faults/fault_plan.h"
#include "simulator/http/handler.h"
#include "simulator/http/journal.h"
#include "simulator/http/listener_set.h"
#include "simulator/http/target.h"

#include <chrono>
#include <string>

namespace ZavSim {

/// What steers the simulator from outside: journal, faults, listeners, and the array and the cluster behind their
/// clients' backs. For clients on this machine only, who need no login. Answers are plain JSON without envelope; what
/// is refused has an HTTP status of 400 or above and {"error": why}.
class AdminService final : public HttpHandler {
public:
    static constexpr const char* PREFIX = "/zavsim/";

    /// All of them must outlive it.
    AdminService(ArraySystem& array, ClusterSystem& cluster, Journal& journal, FaultPlan& faults,
                 ListenerSet& listeners)
        : m_array(array)
        , m_cluster(cluster)
        , m_journal(journal)
        , m_faults(faults)
        , m_listeners(listeners)
        , m_run(std::to_string(std::chrono::system_clock::now().time_since_epoch().count()))
    {
    }

    HttpAnswer Handle(const HttpRequest& request) override;
    HttpAnswer Refuse(const HttpRequest& request, const Fault& fault) const override;

private:
    struct Call {
        std::string method;
        Target target;
        Json::Value body;
    };
    struct Resource;
    static const Resource RESOURCES[];

    Json::Value Dispatch(const Call& call);
    HttpAnswer Watch();
    Json::Value ReadJournal(const Call& call);
    Json::Value ClearJournal(const Call& call);
    Json::Value ReadObjects(const Call& call);
    Json::Value ReadObject(const Call& call);
    Json::Value ReadInventory(const Call& call);
    Json::Value DeleteObjectBehindBack(const Call& call);
    Json::Value ReadFaults(const Call& call);
    Json::Value ReadFaultKinds(const Call& call);
    Json::Value ReadCodes(const Call& call);
    Json::Value AddFault(const Call& call);
    Json::Value RemoveFault(const Call& call);
    Json::Value ClearFaults(const Call& call);
    Json::Value ReadListeners(const Call& call);
    Json::Value SwitchListener(const Call& call);
    Json::Value SwitchPort(const Call& call);
    Json::Value ReadSessions(const Call& call);
    Json::Value EndSessions(const Call& call);

    ArraySystem& m_array;
    ClusterSystem& m_cluster;
    Journal& m_journal;
    FaultPlan& m_faults;
    ListenerSet& m_listeners;
    const std::string m_run; ///< tells this run of the simulator from others
};

} // namespace ZavSim

#endif

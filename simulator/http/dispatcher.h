#ifndef ZAVSIM_HTTP_DISPATCHER_H
#define ZAVSIM_HTTP_DISPATCHER_H

#include "simulator/faults/fault_plan.h"
#include "simulator/http/handler.h"
#include "simulator/http/journal.h"

#include <vector>

namespace ZavSim {

/// Hands each request to the system whose path it bears, with the faults that were asked for, and keeps the journal.
/// What a system throws becomes status 500 with the text of it.
///
/// Mount everything before serving; from then on any thread may call. The systems, journal and plan must outlive it.
class Dispatcher {
public:
    Dispatcher(Journal& journal, FaultPlan& faults)
        : m_journal(journal)
        , m_faults(faults)
    {
    }

    /// `prefix` is the beginning of the targets, such as "/deviceManager/"; the first one that fits gets the request.
    void Mount(const std::string& prefix, HttpHandler& system);

    /// The same without faults and journal, for what steers the simulator itself.
    void MountUnobserved(const std::string& prefix, HttpHandler& system);

    HttpAnswer Serve(const HttpRequest& request, Peer& peer);

private:
    struct MountPoint {
        std::string prefix;
        HttpHandler* system;
        bool observed;
    };

    const MountPoint* Find(const std::string& target) const;
    static HttpAnswer ServeSafely(HttpHandler* system, const HttpRequest& request);
    static HttpAnswer ServeFaulty(const Fault& fault, HttpHandler* system, const HttpRequest& request, Peer& peer);

    Journal& m_journal;
    FaultPlan& m_faults;
    std::vector<MountPoint> m_mounts;
};

} // namespace ZavSim

#endif

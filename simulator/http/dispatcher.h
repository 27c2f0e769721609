#ifndef ZAVSIM_HTTP_DISPATCHER_H
#define ZAVSIM_HTTP_DISPATCHER_H

#include "simulator/faults/fault_plan.h"
#include "simulator/http/handler.h"
#include "simulator/http/journal.h"

#include <vector>

namespace ZavSim {

/// One request on its way through a Dispatcher.
struct Exchange {
    HttpRequest request;
    HttpHandler* system = nullptr; ///< null when no path fits
    std::uint64_t number = 0;      ///< the journal's; 0: not observed
    std::optional<Fault> fault;

    /// How long whoever carries the request waits between Begin and Finish. Less when the client leaves.
    struct Wait {
        bool isEndless = false;
        std::chrono::milliseconds limit{0};
    };
    Wait TimeToWait() const;
};

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

    /// The same for requests that only a look at more than their targets tells.
    using Predicate = bool (*)(const HttpRequest& request);
    void MountUnobserved(Predicate fits, HttpHandler& system);

    /// Notes the request and draws its fault.
    Exchange Begin(HttpRequest request);

    /// Has the request carried out, as far as its fault lets it, and notes the answer.
    HttpAnswer Finish(const Exchange& exchange);

private:
    struct MountPoint {
        std::string prefix;
        Predicate fits; ///< null: the prefix tells
        HttpHandler* system;
        bool isObserved;
    };

    const MountPoint* Find(const HttpRequest& request) const;

    Journal& m_journal;
    FaultPlan& m_faults;
    std::vector<MountPoint> m_mounts;
};

} // namespace ZavSim

#endif

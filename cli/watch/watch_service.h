#ifndef PRODUCT_STORAGE_CLI_WATCH_WATCH_SERVICE_H
#define PRODUCT_STORAGE_CLI_WATCH_WATCH_SERVICE_H

#include "base/service_manager.h"
#include "cli/console/farewell.h"
#include "cli/preparation/preparation.h"
#include "cli/watch/watchdog_feeder.h"

#include <chrono>
#include <vector>

/// What the service manager hears of a watch: that it is ready once it went round all arrays, how it stands, that it
/// goes on, and that it stops. Where no service manager started the watch, nothing is done.
class WatchService {
public:
    using Targets = std::vector<Preparation::Target>;

    /// A round over `targets`, which must outlive it, begins.
    explicit WatchService(const Targets& targets);
    WatchService(const WatchService&) = delete;
    WatchService& operator=(const WatchService&) = delete;
    ~WatchService() = default;

    void BeginRound();
    void EndRound(const Preparation::Outcome& outcome);

    /// The next round begins in so long.
    void BeginPause(std::chrono::seconds pause);

    void Stop() const;

private:
    const Targets& m_targets;
    const Base::ServiceManager m_manager;
    WatchdogFeeder m_watchdog;
    const Farewell m_farewell{[this] { Stop(); }}; // last: it uses the others
};

#endif

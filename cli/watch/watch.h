#ifndef PRODUCT_STORAGE_CLI_WATCH_WATCH_H
#define PRODUCT_STORAGE_CLI_WATCH_WATCH_H

#include "cli/console/report.h"
#include "cli/console/stop_signals.h"
#include "cli/preparation/preparation.h"
#include "cli/watch/metrics_file.h"
#include "cli/watch/refused_logins.h"
#include "cli/watch/watch_service.h"

#include <set>
#include <string>
#include <vector>

/// Goes round over all arrays until a signal comes. Each loss and each recovery is told once, with its time; rounds
/// after a failure are further apart each time. An array that refused its login is left out until its environment is
/// another.
class Watch {
public:
    using Targets = std::vector<Preparation::Target>;

    struct Ways {
        boost::chrono::seconds pace;
        Report::Format format;
        Preparation::Wishes wishes; ///< of each round
    };

    /// All but `ways` must outlive it.
    Watch(Targets& targets, Ways ways, MetricsFile& metrics, StopSignals& signals, LogTail& log);

    /// Begins behind the logins that `outcome` tells of. The code of the last round.
    ExitCode Run(Preparation::Outcome outcome);

private:
    bool Pause(const Preparation::Outcome& outcome); // true when a signal came
    bool WaitFor(const boost::chrono::seconds& pause);
    boost::chrono::seconds BackOff() const;
    bool WaitForChangeOr(boost::chrono::seconds pause);
    void TellFailures(const Preparation::Outcome& outcome) const;
    void TellChanges(const Preparation::Outcome& outcome);
    void PrintChanges(const Preparation::Outcome& outcome);

    Targets& m_targets;
    Ways m_ways;
    MetricsFile& m_metrics;
    StopSignals& m_signals;
    LogTail& m_log;
    std::vector<ZavMapInfo> m_printed;
    std::set<const Preparation::Target*> m_lost;
    unsigned int m_failedRounds = 0;
    RefusedLogins m_refused{m_targets};
    WatchService m_service{m_targets};
};

#endif

#include "cli/watch/watch.h"

#include "cli/preparation/map_info_report.h"
#include "common/framework/config_reader.h"
#include "common/framework/random_bytes.h"

#include <google/protobuf/util/message_differencer.h>

#include <algorithm>
#include <iostream>

namespace {

// The library drops a session that lay idle for five seconds. After a round that failed it gets the time to, so that
// the next round starts with a login.
constexpr boost::chrono::seconds PAUSE_AFTER_FAILURE(7);

bool AreEqual(const std::vector<ZavMapInfo>& left, const std::vector<ZavMapInfo>& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return google::protobuf::util::MessageDifferencer::Equals(one, other);
    });
}

} // namespace

Watch::Watch(Targets& targets, Ways ways, MetricsFile& metrics, StopSignals& signals, LogTail& log)
    : m_targets(targets)
    , m_ways(ways)
    , m_metrics(metrics)
    , m_signals(signals)
    , m_log(log)
{
}

ExitCode Watch::Run(Preparation::Outcome outcome)
{
    for (;;) {
        Preparation::PrepareAll(m_targets, m_ways.wishes, m_log, outcome);
        m_signals.EndByItself();              // the round is over: what it came to is the end's code
        m_ways.wishes.tellsUnchanged = false; // it was told once
        TellChanges(outcome);
        PrintChanges(outcome);
        m_metrics.EndRound(m_targets, outcome);
        m_service.EndRound(outcome);
        if (Pause(outcome)) {
            m_service.Stop();
            Report::Step("stopped");
            TellFailures(outcome);
            return outcome.Code(m_targets.size());
        }
        m_metrics.BeginRound();
        m_service.BeginRound();
        outcome = Preparation::LogIntoAll(m_targets, m_log);
    }
}

void Watch::PrintChanges(const Preparation::Outcome& outcome)
{
    if (!outcome.failures.empty() || AreEqual(outcome.infos, m_printed)) {
        return;
    }
    if (!m_printed.empty()) {
        m_log.PrintFailures(); // why it changed
    }
    PrintMapInfos(outcome.infos, m_ways.format);
    m_printed = outcome.infos;
    try {
        Report::RequireWrittenOutput();
    } catch (const std::exception& error) { // what the watch is for goes on without a reader
        Report::Tell("warning: no table is shown: " + std::string(error.what()), Report::Look::Warning);
        std::cout.clear();
    }
}

bool Watch::Pause(const Preparation::Outcome& outcome)
{
    m_refused.HoldBack(outcome);
    const bool hasAnotherFailed = outcome.failures.size() > m_refused.Count();
    m_failedRounds = hasAnotherFailed ? m_failedRounds + 1 : 0;
    const boost::chrono::seconds pause = hasAnotherFailed ? BackOff() : m_ways.pace;
    if (m_refused.Count() == 0) {
        return WaitFor(pause);
    }
    return WaitForChangeOr(m_refused.Count() < m_targets.size() ? pause : boost::chrono::seconds::max());
}

bool Watch::WaitFor(const boost::chrono::seconds& pause)
{
    m_service.BeginPause(std::chrono::seconds(pause.count()));
    return m_signals.WaitFor(pause);
}

// Doubled from round to round up to a minute; with a part of chance, so that many nodes do not come at once.
boost::chrono::seconds Watch::BackOff() const
{
    constexpr boost::chrono::seconds LONGEST(60);
    constexpr unsigned int MOST_DOUBLINGS = 4;
    const auto doubled = PAUSE_AFTER_FAILURE * (1U << std::min(m_failedRounds - 1, MOST_DOUBLINGS));
    const auto pause = std::max(m_ways.pace, std::min(LONGEST, boost::chrono::seconds(doubled)));
    unsigned char chance = 0;
    getRandBytes(&chance, sizeof chance);
    return m_failedRounds == 1 ? pause : pause + pause * (chance % 26) / 100;
}

// Looks each second whether somebody put right what a login was refused for.
bool Watch::WaitForChangeOr(boost::chrono::seconds pause)
{
    constexpr boost::chrono::seconds LOOK(1);
    for (; pause.count() > 0 && !m_refused.LetGoWhatChanged(); pause -= LOOK) {
        if (WaitFor(LOOK)) {
            return true;
        }
    }
    return false;
}

// What was lost at the end, for whoever did not see when that came about.
void Watch::TellFailures(const Preparation::Outcome& outcome) const
{
    for (const Preparation::Target& target : m_targets) {
        const auto failure = outcome.failures.find(&target);
        if (failure != outcome.failures.end()) {
            const Report::About about(target.name);
            Tell(failure->second);
        }
    }
}

void Watch::TellChanges(const Preparation::Outcome& outcome)
{
    const std::string when = Report::IsForJournal() ? "" : Report::Now() + " ";
    for (const Preparation::Target& target : m_targets) {
        const auto failure = outcome.failures.find(&target);
        const bool isLost = failure != outcome.failures.end();
        const bool wasLost = m_lost.count(&target) != 0;
        if (isLost && !wasLost) {
            const Report::About about(target.name);
            Tell(failure->second, when + "lost: ");
            m_lost.insert(&target);
        } else if (!isLost && wasLost) {
            Report::Tell(when + "recovered: " + target.name);
            m_lost.erase(&target);
        }
    }
}

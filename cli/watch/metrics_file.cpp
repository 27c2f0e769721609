#include "cli/watch/metrics_file.h"

#include "base/files.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/node/iscsi_sessions.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace {

constexpr unsigned int MODE = 0644; // read by another user's node_exporter

using StandingSessions = std::optional<std::vector<IscsiSession>>;

// Nothing where iscsiadm does not tell.
StandingSessions SessionsOfThisNode()
{
    try {
        return IscsiSessions::Standing();
    } catch (const Failure&) {
        return std::nullopt; // what a round needs of them it tells itself
    }
}

RoundMetrics::ArrayResult::Array Describe(const ArrayLogin& login, const StandingSessions& sessions)
{
    RoundMetrics::ArrayResult::Array array;
    array.url = login.Device().url;
    array.deviceKey = login.DeviceId();
    array.serviceAddresses = login.Device().storageIps.size();
    if (!sessions) {
        return array;
    }
    RoundMetrics::ArrayResult::Array::Sessions counts;
    for (const IscsiSession& session : *sessions) {
        if (session.IsWithOneOf(login.Device().storageIps)) {
            ++(IscsiSessions::IsUp(IscsiSessions::StateOf(session)) ? counts.up : counts.down);
        }
    }
    array.sessions = counts;
    return array;
}

// What ties this node to a target's array, as text; empty where the round did not come so far.
std::string MappingOf(const Preparation::Target& target, const Preparation::Outcome& outcome)
{
    const auto info = std::find_if(outcome.infos.begin(), outcome.infos.end(), [&target](const ZavMapInfo& each) {
        return !each.device_keys().empty() && each.device_keys(0) == target.login->DeviceId();
    });
    return info == outcome.infos.end() ? "" : info->SerializeAsString();
}

} // namespace

MetricsFile::MetricsFile(std::string path, std::optional<unsigned int> interval)
    : m_path(std::move(path))
    , m_metrics(interval)
{
    BeginRound();
}

void MetricsFile::BeginRound()
{
    m_begin = std::chrono::steady_clock::now();
}

void MetricsFile::EndRound(const std::vector<Preparation::Target>& targets, const Preparation::Outcome& outcome)
{
    if (m_path.empty()) {
        return;
    }
    const StandingSessions sessions = SessionsOfThisNode();
    std::vector<RoundMetrics::ArrayResult> results;
    for (const Preparation::Target& target : targets) {
        RoundMetrics::ArrayResult result;
        result.environment = target.name;
        if (const auto failure = outcome.failures.find(&target); failure != outcome.failures.end()) {
            result.failure = failure->second.exit;
        }
        if (target.login != nullptr) {
            result.mapping = MappingOf(target, outcome);
            result.array = Describe(*target.login, sessions);
        }
        results.push_back(std::move(result));
    }
    Write(std::move(results));
}

void MetricsFile::EndRound(const std::vector<std::string>& environments, ExitCode failure)
{
    if (m_path.empty()) {
        return;
    }
    std::vector<RoundMetrics::ArrayResult> results;
    for (const std::string& environment : environments) {
        RoundMetrics::ArrayResult result;
        result.environment = environment;
        result.failure = failure;
        results.push_back(std::move(result));
    }
    Write(std::move(results));
}

void MetricsFile::Write(std::vector<RoundMetrics::ArrayResult> results)
{
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - m_begin;
    m_metrics.Add({std::time(nullptr), taken.count(), std::move(results)});
    std::string problem = "it is there, and no regular file";
    if (!Base::IsOtherThanFile(m_path)) {
        const int error = Base::ReplaceFile(m_path, m_metrics.Text(), MODE);
        problem = error == 0 ? "" : Base::ErrorText(error);
    }
    if (!problem.empty() && !m_isFailureTold) {
        Report::Tell("warning: " + m_path + ": metrics cannot be written: " + problem, Report::Look::Warning);
    }
    m_isFailureTold = !problem.empty();
}

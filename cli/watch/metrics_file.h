#ifndef PRODUCT_STORAGE_CLI_WATCH_METRICS_FILE_H
#define PRODUCT_STORAGE_CLI_WATCH_METRICS_FILE_H

#include "cli/preparation/preparation.h"
#include "cli/watch/round_metrics.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// A file for monitoring to read, replaced whole behind each round. One that cannot be written is told once, until it
/// can be again, and keeps nothing from going on. Without a path nothing is done.
class MetricsFile {
public:
    /// `interval`: between the rounds of a watch. The first round begins.
    MetricsFile(std::string path, std::optional<unsigned int> interval);

    void BeginRound();
    void EndRound(const std::vector<Preparation::Target>& targets, const Preparation::Outcome& outcome);

    /// Ends a round that came to nothing before it knew of any array.
    void EndRound(const std::vector<std::string>& environments, ExitCode failure);

private:
    void Write(std::vector<RoundMetrics::ArrayResult> results);

    const std::string m_path;
    RoundMetrics m_metrics;
    std::chrono::steady_clock::time_point m_begin;
    bool m_isFailureTold = false;
};

#endif

#ifndef PRODUCT_STORAGE_CLI_WATCH_ROUND_METRICS_H
#define PRODUCT_STORAGE_CLI_WATCH_ROUND_METRICS_H

#include "cli/console/exit_code.h"
#include "cli/watch/exposition.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What monitoring is told of the rounds in which this node was prepared; docs/monitoring.md tells what each metric
/// means. It counts from the process's start, as counters do.
class RoundMetrics {
public:
    /// What one round came to on one array.
    struct ArrayResult {
        std::string environment;
        std::optional<ExitCode> failure; ///< none: the node is prepared
        std::string mapping;             ///< what ties the node to the array; empty where the round did not come so far

        /// Known once somebody logged in.
        struct Array {
            std::string url;
            std::string deviceKey;
            std::size_t serviceAddresses = 0;
            struct Sessions {
                std::size_t up = 0;
                std::size_t down = 0;
            };
            std::optional<Sessions> sessions; ///< nothing where this node does not tell
        };
        std::optional<Array> array;
    };

    struct Round {
        std::time_t end = 0;
        double seconds = 0;
        std::vector<ArrayResult> arrays;
    };

    /// `interval`: between the rounds of a watch.
    explicit RoundMetrics(std::optional<unsigned int> interval)
        : m_interval(interval)
    {
    }

    void Add(const Round& round);

    /// The whole file.
    std::string Text() const;

private:
    struct Standing {
        ArrayResult last;
        std::string mapping;
        std::time_t success = 0; ///< 0: none yet
        std::map<std::string, std::uint64_t> failures;
        std::uint64_t rebuilds = 0;
    };
    struct Family;

    static const std::vector<Family>& OutcomeFamilies();
    static const std::vector<Family>& ArrayFamilies();
    void TellArrays(Exposition& out, const std::vector<Family>& families) const;
    void TellRounds(Exposition& out) const;

    static constexpr std::array<double, 9> BOUNDS = {0.5, 1, 2.5, 5, 10, 30, 60, 120, 300};

    const std::optional<unsigned int> m_interval;
    std::map<std::string, Standing> m_arrays; ///< by environment
    std::time_t m_lastEnd = 0;
    double m_lastSeconds = 0;
    double m_allSeconds = 0;
    std::array<std::uint64_t, BOUNDS.size()> m_within = {}; ///< rounds that took at most so long
    std::uint64_t m_rounds = 0;
};

#endif

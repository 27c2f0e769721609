#ifndef PRODUCT_STORAGE_BENCH_REPORT_H
#define PRODUCT_STORAGE_BENCH_REPORT_H

#include "bench/accepted.h"
#include "bench/comparison.h"
#include "bench/topic.h"

#include <string>
#include <vector>

/// What was measured, as a table and as a page with plots.
class Report {
public:
    explicit Report(const Accepted& accepted);

    /// Whether each bound of the topic is met, or missed no further than is accepted.
    bool Passes(const Topic& topic, const Medians& medians) const;

    /// Prints a topic's rows at once.
    void Add(const Topic& topic, const Medians& medians);

    /// Prints how what was measured at several points grows.
    void PrintGrowth() const;

    /// Writes report.md and the plots into `folder`, which is made.
    void Write(const std::string& folder) const;

    /// Whether a bound was missed, and not known to be missed so far.
    bool HasMissed() const { return m_hasMissed; }

private:
    void AddRow(const Topic& topic, const Bound& bound, const Medians& medians);
    void AddRemarks(const Topic& topic, const Bound& bound, const Medians& medians);
    void AddConclusion(const Topic& topic, const Medians& medians);
    std::string Verdict(const std::string& name, double ratio, double bound);
    void AddPlot(const Topic& topic, const Medians& medians);

    const Accepted& m_accepted;
    bool m_hasMissed = false;
    std::vector<std::vector<std::string>> m_rows;
    std::vector<std::string> m_notes;       ///< why bounds are missed
    std::vector<std::string> m_conclusions; ///< from what was measured for comparison
    struct Plot {
        std::string file;
        std::vector<std::string> slopes; ///< a row of their table
        std::string drawing;
    };
    std::vector<Plot> m_plots;
};

#endif

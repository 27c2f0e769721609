#ifndef PRODUCT_STORAGE_BENCH_COMPARISON_H
#define PRODUCT_STORAGE_BENCH_COMPARISON_H

#include "bench/topic.h"

#include <map>
#include <string>

constexpr const char* OURS = "ours";
constexpr const char* BARE = "bare";

/// The medians of what a topic's sides took.
class Medians {
public:
    void Set(const std::string& side, int point, const std::string& quantity, double value);

    /// Of one side at one point; 0 when that was not measured.
    double Of(const std::string& side, int point, const std::string& quantity) const;

    /// What `side` takes of what the bare one takes.
    double Ratio(const std::string& side, int point, const std::string& quantity) const;

private:
    std::map<std::string, double> m_values; ///< by side, point and quantity
};

/// Runs all sides of a topic in turn, in an order drawn by chance, so that what slows the machine down for a while
/// slows them all down. Throws std::runtime_error when a side cannot do its work.
Medians Compare(const Topic& topic);

/// The points of a topic; 0 alone where it does not grow.
std::vector<int> PointsOf(const Topic& topic);

#endif

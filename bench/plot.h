#ifndef PRODUCT_STORAGE_BENCH_PLOT_H
#define PRODUCT_STORAGE_BENCH_PLOT_H

#include <string>
#include <utility>
#include <vector>

/// A curve of a plot: its points by rising x, all above 0.
struct Curve {
    std::string name;
    std::vector<std::pair<double, double>> points;

    /// The exponent of its growth: 1 grows as x does, 0 stays. By least squares over the logarithms; 0 for one point.
    double Slope() const;
};

/// The curves as SVG, both axes logarithmic.
std::string DrawPlot(const std::string& title, const std::string& xName, const std::string& yName,
                     const std::vector<Curve>& curves);

/// 0.00012 as "120 us".
std::string TimeText(double seconds);

#endif

#include "bench/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace {

constexpr double WIDTH = 640;
constexpr double HEIGHT = 400;
constexpr double LEFT = 90;
constexpr double RIGHT = 160; // holds the curves' names
constexpr double TOP = 40;
constexpr double BOTTOM = 60;

/// From values to places on one axis.
class Axis {
public:
    Axis(double begin, double end)
        : m_begin(begin)
        , m_end(end)
    {
    }

    void Hold(double value)
    {
        m_low = std::min(m_low, std::floor(std::log10(value)));
        m_high = std::max(m_high, std::ceil(std::log10(value)));
    }

    double Place(double value) const
    {
        const double decades = std::max(m_high - m_low, 1.0);
        return m_begin + (m_end - m_begin) * (std::log10(value) - m_low) / decades;
    }

    std::vector<double> Marks() const
    {
        std::vector<double> marks;
        const int last = static_cast<int>(std::max(m_high, m_low + 1));
        for (int decade = static_cast<int>(m_low); decade <= last; ++decade) {
            marks.push_back(std::pow(10, decade));
        }
        return marks;
    }

private:
    double m_begin;
    double m_end;
    double m_low = 99;
    double m_high = -99;
};

std::string Text(double x, double y, const std::string& anchor, const std::string& text)
{
    std::ostringstream svg;
    svg << "<text x=\"" << x << "\" y=\"" << y << "\" text-anchor=\"" << anchor << "\">" << text << "</text>\n";
    return svg.str();
}

std::string Line(double x1, double y1, double x2, double y2)
{
    std::ostringstream svg;
    svg << "<line x1=\"" << x1 << "\" y1=\"" << y1 << "\" x2=\"" << x2 << "\" y2=\"" << y2 << "\" stroke=\"#ddd\"/>\n";
    return svg.str();
}

std::string CountText(double count)
{
    std::ostringstream text;
    text << std::llround(count);
    return text.str();
}

std::string DrawCurve(const Curve& curve, const Axis& x, const Axis& y, const std::string& colour)
{
    std::ostringstream svg;
    svg << "<polyline fill=\"none\" stroke-width=\"2\" stroke=\"" << colour << "\" points=\"";
    for (const auto& [at, value] : curve.points) {
        svg << x.Place(at) << "," << y.Place(value) << " ";
    }
    svg << "\"/>\n";
    for (const auto& [at, value] : curve.points) {
        svg << "<circle r=\"3\" fill=\"" << colour << "\" cx=\"" << x.Place(at) << "\" cy=\"" << y.Place(value)
            << "\"/>\n";
    }
    return svg.str();
}

} // namespace

double Curve::Slope() const
{
    double sumX = 0;
    double sumY = 0;
    for (const auto& [x, y] : points) {
        sumX += std::log(x);
        sumY += std::log(y);
    }
    const double meanX = sumX / static_cast<double>(points.size());
    const double meanY = sumY / static_cast<double>(points.size());
    double covariance = 0;
    double variance = 0;
    for (const auto& [x, y] : points) {
        covariance += (std::log(x) - meanX) * (std::log(y) - meanY);
        variance += (std::log(x) - meanX) * (std::log(x) - meanX);
    }
    return variance > 0 ? covariance / variance : 0;
}

std::string DrawPlot(const std::string& title, const std::string& xName, const std::string& yName,
                     const std::vector<Curve>& curves)
{
    constexpr std::array<const char*, 4> COLOURS = {"#1f77b4", "#888888", "#d62728", "#2ca02c"};
    Axis x(LEFT, WIDTH - RIGHT);
    Axis y(HEIGHT - BOTTOM, TOP);
    for (const Curve& curve : curves) {
        for (const auto& [at, value] : curve.points) {
            x.Hold(at);
            y.Hold(value);
        }
    }
    std::ostringstream svg;
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << WIDTH << "\" height=\"" << HEIGHT
        << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << Text(LEFT, TOP / 2, "start", title);
    for (const double mark : x.Marks()) {
        svg << Line(x.Place(mark), TOP, x.Place(mark), HEIGHT - BOTTOM)
            << Text(x.Place(mark), HEIGHT - BOTTOM + 18, "middle", CountText(mark));
    }
    for (const double mark : y.Marks()) {
        svg << Line(LEFT, y.Place(mark), WIDTH - RIGHT, y.Place(mark))
            << Text(LEFT - 8, y.Place(mark) + 4, "end", TimeText(mark));
    }
    svg << Text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 14, "middle", xName) << Text(8, TOP - 8, "start", yName);
    for (std::size_t i = 0; i < curves.size(); ++i) {
        const std::string colour = COLOURS[i % COLOURS.size()];
        svg << DrawCurve(curves[i], x, y, colour) << "<g fill=\"" << colour << "\">"
            << Text(WIDTH - RIGHT + 8, TOP + 18 * static_cast<double>(i + 1), "start", curves[i].name) << "</g>\n";
    }
    svg << "</svg>\n";
    return svg.str();
}

std::string TimeText(double seconds)
{
    constexpr std::array<const char*, 4> UNITS = {"s", "ms", "us", "ns"};
    std::size_t unit = 0;
    double value = seconds;
    while (value < 0.9995 && unit + 1 < UNITS.size()) {
        value *= 1000;
        ++unit;
    }
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.3g %s", value, UNITS.at(unit)); // NOLINT: of a number, within the room
    return text.data();
}

#include "bench/report.h"

#include "bench/plot.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace {

std::string Fixed(double number, int digits)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << number;
    return text.str();
}

bool IsTime(const std::string& quantity)
{
    return quantity != "connections" && quantity != "peak-bytes";
}

std::string ValueText(const std::string& quantity, double value)
{
    if (IsTime(quantity)) {
        return TimeText(value);
    }
    constexpr double KILOBYTE = 1024;
    return quantity == "peak-bytes" ? Fixed(value / KILOBYTE / KILOBYTE, 1) + " MiB" : Fixed(value, 0);
}

std::string NameOf(const Topic& topic, const Bound& bound)
{
    return topic.name + (bound.at == 0 ? "" : "/" + std::to_string(bound.at)) + "." + bound.quantity;
}

std::string Described(const Topic& topic, const Bound& bound)
{
    std::string text = topic.what;
    if (bound.at != 0) {
        text += ", " + std::to_string(bound.at) + " " + topic.growth.unit;
    }
    return text + ": " + bound.quantity;
}

std::string FileNameOf(const Topic& topic)
{
    std::string name = topic.name + ".svg";
    std::replace(name.begin(), name.end(), '/', '-');
    return name;
}

using Cells = std::vector<std::string>;

const Cells HEADING = {"topic", "what", "beside", "took", "bare", "ratio", "bound", "verdict"};
const Cells GROWTH_HEADING = {"growth", "along", "from", "to", "took", "slope", "slope of the bare thing"};

std::string MarkdownRow(const Cells& cells)
{
    std::string row = "|";
    for (const std::string& cell : cells) {
        row += " " + cell + " |";
    }
    return row + "\n";
}

std::string MarkdownHead(const Cells& heading)
{
    return MarkdownRow(heading) + MarkdownRow(Cells(heading.size(), "---"));
}

} // namespace

Report::Report(const Accepted& accepted)
    : m_accepted(accepted)
{
    std::cout << MarkdownHead(HEADING);
}

bool Report::Passes(const Topic& topic, const Medians& medians) const
{
    return std::all_of(topic.bounds.begin(), topic.bounds.end(), [&](const Bound& bound) {
        const Accepted::Entry* const accepted = m_accepted.Find(NameOf(topic, bound));
        const double most = accepted == nullptr ? 0 : accepted->ratio * Accepted::TOLERANCE;
        return medians.Ratio(OURS, bound.at, bound.quantity) <= std::max(bound.most, most);
    });
}

void Report::Add(const Topic& topic, const Medians& medians)
{
    for (const Bound& bound : topic.bounds) {
        AddRow(topic, bound, medians);
        AddRemarks(topic, bound, medians);
    }
    if (topic.growth.points.size() > 2) {
        AddPlot(topic, medians);
    }
    if (!topic.conclusion.empty()) {
        AddConclusion(topic, medians);
    }
}

void Report::AddRow(const Topic& topic, const Bound& bound, const Medians& medians)
{
    const std::string name = NameOf(topic, bound);
    const double ratio = medians.Ratio(OURS, bound.at, bound.quantity);
    m_rows.push_back({name, Described(topic, bound), topic.beside,
                      ValueText(bound.quantity, medians.Of(OURS, bound.at, bound.quantity)),
                      ValueText(bound.quantity, medians.Of(BARE, bound.at, bound.quantity)), Fixed(ratio, 2),
                      Fixed(bound.most, 2), Verdict(name, ratio, bound.most)});
    std::cout << MarkdownRow(m_rows.back()) << std::flush;
}

void Report::AddRemarks(const Topic& topic, const Bound& bound, const Medians& medians)
{
    for (const Remark& remark : topic.remarks) {
        const double value = medians.Of(remark.name, bound.at, bound.quantity);
        m_rows.push_back({"", remark.name + " for comparison", topic.beside, ValueText(bound.quantity, value),
                          ValueText(bound.quantity, medians.Of(BARE, bound.at, bound.quantity)),
                          Fixed(medians.Ratio(remark.name, bound.at, bound.quantity), 2), "", "told"});
        std::cout << MarkdownRow(m_rows.back()) << std::flush;
    }
}

void Report::AddConclusion(const Topic& topic, const Medians& medians)
{
    const Bound& bound = topic.bounds.front();
    std::string figures;
    for (const Remark& remark : topic.remarks) {
        figures += (figures.empty() ? "" : ", ") + remark.name + " " +
                   Fixed(medians.Ratio(remark.name, bound.at, bound.quantity), 2);
    }
    m_conclusions.push_back("`" + topic.name + "`: " + topic.conclusion + " Measured: " + figures + ".");
}

std::string Report::Verdict(const std::string& name, double ratio, double bound)
{
    const Accepted::Entry* const accepted = m_accepted.Find(name);
    if (ratio <= bound) {
        return accepted == nullptr ? "met" : "met, and accepted as missed";
    }
    if (accepted == nullptr) {
        m_hasMissed = true;
        return "MISSED";
    }
    m_notes.push_back("`" + name + "`, accepted at " + Fixed(accepted->ratio, 2) + ": " + accepted->reason);
    if (ratio > accepted->ratio * Accepted::TOLERANCE) {
        m_hasMissed = true;
        return "WORSE than " + Fixed(accepted->ratio, 2);
    }
    return "missed, accepted at " + Fixed(accepted->ratio, 2);
}

void Report::AddPlot(const Topic& topic, const Medians& medians)
{
    std::vector<std::string> sides = {OURS, BARE};
    for (const Remark& remark : topic.remarks) {
        sides.push_back(remark.name);
    }
    const std::string& quantity = topic.bounds.front().quantity;
    const auto& [first, last] = std::minmax_element(topic.growth.points.begin(), topic.growth.points.end());
    Cells slopes = {topic.name + "." + quantity, topic.growth.unit, std::to_string(*first), std::to_string(*last),
                    ValueText(quantity, medians.Of(OURS, *first, quantity)) + " to " +
                        ValueText(quantity, medians.Of(OURS, *last, quantity))};
    std::vector<Curve> curves;
    for (const std::string& side : sides) {
        Curve curve = {side, {}};
        for (const int point : topic.growth.points) {
            curve.points.emplace_back(point, medians.Of(side, point, quantity));
        }
        slopes.push_back(Fixed(curve.Slope(), 2));
        curve.name += ", slope " + slopes.back();
        curves.push_back(curve);
    }
    slopes.resize(GROWTH_HEADING.size()); // of both sides; remarks' are in the plot
    const std::string title = topic.what + ", beside " + topic.beside;
    m_plots.push_back({FileNameOf(topic), slopes, DrawPlot(title, topic.growth.unit, quantity, curves)});
}

void Report::PrintGrowth() const
{
    if (m_plots.empty()) {
        return;
    }
    std::cout << "\n" << MarkdownHead(GROWTH_HEADING);
    for (const Plot& plot : m_plots) {
        std::cout << MarkdownRow(plot.slopes);
    }
}

void Report::Write(const std::string& folder) const
{
    std::filesystem::create_directories(folder);
    std::ofstream page(folder + "/report.md");
    page << "# What the library costs beside the bare thing\n\n"
         << "Medians of repetitions that alternate with those of the other side, in one process, against zavsim over "
            "https on\nloopback with the rate guard open. cpu: processor time of the whole process; wall: time that "
            "passed.\n\n"
         << MarkdownHead(HEADING);
    for (const auto& row : m_rows) {
        page << MarkdownRow(row);
    }
    if (!m_notes.empty()) {
        page << "\n## Bounds that are missed\n\nA figure that is more than " << Fixed(Accepted::TOLERANCE, 2)
             << " times as high as it was accepted fails.\n\n";
        for (const std::string& note : m_notes) {
            page << "- " << note << "\n";
        }
    }
    if (!m_conclusions.empty()) {
        page << "\n## What stays out\n";
        for (const std::string& conclusion : m_conclusions) {
            page << "\n" << conclusion << "\n";
        }
    }
    page << "\n## Growth\n\nThe slope is that of the straight line through the points, both axes logarithmic: 1 grows "
            "as "
            "the number does, 0 stays.\n\n"
         << MarkdownHead(GROWTH_HEADING);
    for (const Plot& plot : m_plots) {
        page << MarkdownRow(plot.slopes);
    }
    for (const Plot& plot : m_plots) {
        std::ofstream(folder + "/" + plot.file) << plot.drawing;
        page << "\n![" << plot.file << "](" << plot.file << ")\n";
    }
}

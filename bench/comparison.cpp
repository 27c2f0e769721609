#include "bench/comparison.h"

#include <algorithm>
#include <stdexcept>

namespace {

std::string KeyOf(const std::string& side, int point, const std::string& quantity)
{
    return side + "/" + std::to_string(point) + "/" + quantity;
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Keeps what each repetition of one side took, instead of printing it.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& /*context*/) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                throw std::runtime_error(run.benchmark_name() + ": " + run.error_message);
            }
            if (run.run_type == Run::RT_Iteration) {
                Take(run);
            }
        }
    }

    Medians Result() const
    {
        Medians medians;
        for (const auto& [side, samplesByPoint] : m_samples) {
            for (const auto& [point, samplesByQuantity] : samplesByPoint) {
                for (const auto& [quantity, samples] : samplesByQuantity) {
                    medians.Set(side, point, quantity, Median(samples));
                }
            }
        }
        return medians;
    }

private:
    // The family's name is the side, and the arguments are "POINT".
    void Take(const Run& run)
    {
        const int point = std::stoi(run.run_name.args);
        auto& samples = m_samples[run.run_name.function_name][point];
        const double iterations = static_cast<double>(std::max<std::int64_t>(run.iterations, 1));
        samples[Quantity::WALL].push_back(run.real_accumulated_time / iterations);
        if (run.counters.count(Quantity::CPU) == 0) {
            samples[Quantity::CPU].push_back(run.cpu_accumulated_time / iterations);
        }
        for (const auto& [name, counter] : run.counters) {
            samples[name].push_back(counter.value);
        }
    }

    std::map<std::string, std::map<int, std::map<std::string, std::vector<double>>>> m_samples;
};

void Register(const Topic& topic, const std::string& name, const Side& side)
{
    for (const int point : PointsOf(topic)) {
        auto* const run = benchmark::RegisterBenchmark(name.c_str(), side);
        run->Arg(point)
            ->Repetitions(point < topic.growth.rareFrom ? topic.repetitions : 1)
            ->MeasureProcessCPUTime()
            ->UseRealTime();
        if (topic.growth.of == Growth::Of::Threads) {
            run->Threads(point);
        }
        if (topic.seconds > 0) {
            run->MinTime(topic.seconds);
        } else {
            run->Iterations(1);
        }
    }
}

} // namespace

void Medians::Set(const std::string& side, int point, const std::string& quantity, double value)
{
    m_values[KeyOf(side, point, quantity)] = value;
}

double Medians::Of(const std::string& side, int point, const std::string& quantity) const
{
    const auto found = m_values.find(KeyOf(side, point, quantity));
    return found == m_values.end() ? 0 : found->second;
}

double Medians::Ratio(const std::string& side, int point, const std::string& quantity) const
{
    const double bare = Of(BARE, point, quantity);
    if (bare <= 0) {
        throw std::runtime_error("nothing was measured of " + KeyOf(BARE, point, quantity));
    }
    return Of(side, point, quantity) / bare;
}

Medians Compare(const Topic& topic)
{
    benchmark::ClearRegisteredBenchmarks();
    Register(topic, OURS, topic.ours);
    Register(topic, BARE, topic.bare);
    for (const Remark& remark : topic.remarks) {
        Register(topic, remark.name, remark.side);
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector, ".");
    return collector.Result();
}

std::vector<int> PointsOf(const Topic& topic)
{
    return topic.growth.of == Growth::Of::Nothing ? std::vector<int>{0} : topic.growth.points;
}

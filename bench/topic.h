#ifndef PRODUCT_STORAGE_BENCH_TOPIC_H
#define PRODUCT_STORAGE_BENCH_TOPIC_H

#include <benchmark/benchmark.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

/// What is measured of one iteration: CPU and WALL are seconds, of the whole process and of the clock; any other name
/// is a counter that the sides set, among them CPU itself where other processes do the work.
namespace Quantity {
constexpr const char* CPU = "cpu";
constexpr const char* WALL = "wall";
} // namespace Quantity

/// One program, as Google Benchmark runs it.
using Side = std::function<void(benchmark::State&)>;

/// What a topic's ratio may be at the most.
struct Bound {
    std::string quantity;
    double most = 0;
    int at = 0; ///< the point of the growth that it holds for; 0: there is no growth
};

/// A side whose figure is told, and bound to nothing.
struct Remark {
    std::string name;
    Side side;
};

/// Along what the topic is measured several times. A point is the first argument of its sides.
struct Growth {
    enum class Of { Nothing, Size, Threads } of = Of::Nothing;
    std::string unit = {}; ///< "LUNs"
    std::vector<int> points = {};
    int rareFrom = std::numeric_limits<int>::max(); ///< points from here on take long: each side is run once
};

/// One thing that the library does, beside the bare thing that it is made of.
struct Topic {
    std::string name; ///< "small-get/level-4"; names the topic in bench/accepted, too
    std::string what;
    std::string beside;
    Side ours;
    Side bare;
    std::vector<Bound> bounds;
    int logLevel = 4;
    int repetitions = 15; ///< of each side, in turn with the other's; their medians count
    double seconds = 0.1; ///< that a repetition takes at the least; 0: one iteration
    Growth growth = {};
    std::vector<Remark> remarks = {};
    std::string conclusion = {}; ///< what follows from the remarks, for the report
};

using Topics = std::vector<Topic>;

/// The topics, by the file that holds them.
Topics ExchangeTopics();
Topics PageTopics();
Topics ThreadTopics();
Topics KeeperTopics();
Topics LoopTopics();
Topics LogTopics();
Topics GuardTopics();
Topics ShellTopics();
Topics ProgramTopics();

#endif

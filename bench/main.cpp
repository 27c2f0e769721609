#include "bench/comparison.h"
#include "bench/report.h"
#include "bench/stage.h"
#include "bench/topic.h"

#include <array>
#include <exception>
#include <iostream>
#include <regex>
#include <stdexcept>
#include <string>

namespace {

Topics AllTopics()
{
    Topics all;
    for (const Topics& some : {LogTopics(), GuardTopics(), LoopTopics(), KeeperTopics(), ShellTopics(),
                               ExchangeTopics(), PageTopics(), ThreadTopics(), ProgramTopics()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

Topics MatchingTopics(const std::string& pattern)
{
    const std::regex wanted(pattern);
    Topics matching;
    for (const Topic& topic : AllTopics()) {
        if (std::regex_search(topic.name, wanted)) {
            matching.push_back(topic);
        }
    }
    if (matching.empty()) {
        throw std::runtime_error("no topic's name matches '" + pattern + "'");
    }
    return matching;
}

// Google Benchmark's own arguments: a side's repetitions are not run in one go, but in turn with the others'.
void InitialiseInTurn(std::string program)
{
    std::string inTurn = "--benchmark_enable_random_interleaving=true";
    std::array<char*, 3> arguments = {program.data(), inTurn.data(), nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments.data());
}

} // namespace

// benchmarks ACCEPTED FOLDER [PATTERN]: measures the topics whose names match; 1 when a bound was missed.
int main(int argc, char** argv)
{
    try {
        if (argc != 3 && argc != 4) {
            std::cerr << "usage: " << argv[0] << " ACCEPTED FOLDER [PATTERN]\n";
            return 2;
        }
        const Accepted accepted(argv[1]);
        InitialiseInTurn(argv[0]);
        const Stage& stage = Stage::Get();
        const Topics topics = MatchingTopics(argc == 4 ? argv[3] : "");
        Report report(accepted);
        for (const Topic& topic : topics) {
            stage.SetLogLevel(topic.logLevel);
            const Medians first = Compare(topic);
            // The machine may have been busy: what fails is measured once more, and that counts.
            report.Add(topic, report.Passes(topic, first) ? first : Compare(topic));
        }
        report.PrintGrowth();
        report.Write(argv[2]);
        benchmark::Shutdown();
        return report.HasMissed() ? 1 : 0;
    } catch (const std::exception& error) {
        std::cerr << "benchmarks: " << error.what() << '\n';
        return 2;
    }
}

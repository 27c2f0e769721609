#include "common/framework/product_messages.pb.h"
#include "common/json_text.h"
#include "tests/simulation/story.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <google/protobuf/util/json_util.h>

#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <thread>

// simulation: zavctl, the library and the open SAN provider on an array, a disk and clocks that are simulated, in
// thousands of ways that things may go wrong. Each is a schedule that a number draws and that can be played again.

namespace {

using namespace Simulation;

const std::map<std::string, Planted> PLANTED = {{"flush", Planted::NoFlush},
                                                {"lock", Planted::NoLock},
                                                {"settling", Planted::NoSettling},
                                                {"chain", Planted::NoChain}};

struct Options {
    std::uint64_t first = 1;
    std::uint64_t count = 2000;
    unsigned int jobs = std::max(std::thread::hardware_concurrency(), 1U);
    std::string replay;
    std::vector<std::string> without;
    unsigned int memoryEvery = 0;
    bool looksForLeaks = false;
    bool isTalkative = false;
    bool endsAtFirst = false;
};

/// What the workers and the driver count together.
struct Counts {
    std::atomic<std::uint64_t> played{0};
    std::atomic<std::uint64_t> broken{0};
    std::atomic<std::uint64_t> effects{0};
};

/// A page that forked processes share.
template <typename Type>
Type& Shared()
{
    void* const memory = ::mmap(nullptr, sizeof(Type), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return *new (memory) Type(); // lives as long as the mapping, which is as long as the program
}

/// A folder in memory where there is one, gone with the object.
class Folder {
public:
    Folder()
    {
        const char* const memory = "/dev/shm";
        std::string pattern =
            (::access(memory, W_OK) == 0 ? std::string(memory) : std::filesystem::temp_directory_path().string()) +
            "/simulation-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_path = pattern;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    std::string Product() const { return m_path + "/product"; }

private:
    std::string m_path;
};

void TellBroken(const Schedule& schedule, const Options& options, const std::string& problem)
{
    std::string line = "broken: " + problem + "\n  simulation --replay '" + ToText(schedule) + "'";
    for (const std::string& part : options.without) {
        line += " --without " + part;
    }
    std::cout << line + "\n" << std::flush;
}

// What each process would do anew at its first use of a library.
void WarmUp()
{
    EnvironmentPath environment;
    const auto status = google::protobuf::util::JsonStringToMessage(R"({"ports": [1]})", &environment);
    Json::Value root;
    if (!status.ok() || !JsonText::Parse(JsonText::Write(environment.ports(0)), root)) {
        throw std::runtime_error("the libraries of the simulation do not work");
    }
}

void PlayAll(const Options& options, const World::Wishes& wishes, unsigned int job, Counts& counts)
{
    // World and processes take turns: on one processor none has to be woken on another.
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(job % std::max(std::thread::hardware_concurrency(), 1U), &processors);
    ::sched_setaffinity(0, sizeof processors, &processors);
    const Folder folder;
    SharedPage& page = Shared<SharedPage>();
    WarmUp();
    for (std::uint64_t i = job; i < options.count; i += options.jobs) {
        if (options.endsAtFirst && counts.broken != 0) {
            return;
        }
        const Schedule schedule = Draw(options.first + i);
        const std::string problem = Play(schedule, wishes, folder.Product(), page);
        counts.effects += page.effects;
        ++counts.played;
        if (!problem.empty() && ++counts.broken <= 10) {
            const Schedule least = Shrink(schedule, wishes, folder.Product(), page);
            const std::string again = Play(least, wishes, folder.Product(), page);
            TellBroken(least, options, again.empty() ? "once, and not when played again: " + problem : again);
        }
    }
}

// Copies of messages that are broken off lose as much within the library of messages; an object of ours holds more.
constexpr std::int64_t MOST_LOST_BLOCKS = 3;

// Each command with each of its allocations failing.
int SearchMemory(const Options& options, const World::Wishes& wishes)
{
    const std::vector<std::string> commands = {"first init", "second init", "cleanup", "tidy"};
    const Folder folder;
    SharedPage& page = Shared<SharedPage>();
    WarmUp();
    int broken = 0;
    for (unsigned int which = 0; which < commands.size(); ++which) {
        MemoryStory story;
        story.which = which;
        story.looksForLeaks = options.looksForLeaks;
        story.failing = UINT64_MAX;
        const MemoryOutcome calm = PlayWithoutMemory(story, wishes, folder.Product(), page);
        std::uint64_t played = 0;
        int brokenHere = 0;
        for (story.failing = 1; story.failing <= calm.allocations; story.failing += options.memoryEvery) {
            MemoryOutcome outcome = PlayWithoutMemory(story, wishes, folder.Product(), page);
            ++played;
            if (outcome.problem.empty() && outcome.heldBlocks > calm.heldBlocks + MOST_LOST_BLOCKS) {
                outcome.problem = std::to_string(outcome.heldBlocks - calm.heldBlocks) + " blocks of memory are lost";
            }
            if (!outcome.problem.empty() && ++brokenHere <= 3) {
                std::cout << commands[which] << ", allocation " << story.failing << " of " << calm.allocations << ": "
                          << outcome.problem << "\n";
            }
        }
        std::cout << commands[which] << ": " << played << " of " << calm.allocations
                  << " allocations failed once each, " << brokenHere << " broken\n"
                  << std::flush;
        broken += brokenHere;
    }
    return broken == 0 ? 0 : 1;
}

int Replay(const Options& options, World::Wishes wishes)
{
    wishes.isTalkative = options.isTalkative;
    const Folder folder;
    const Schedule schedule = FromText(options.replay);
    const std::string problem = Play(schedule, wishes, folder.Product(), Shared<SharedPage>());
    if (!problem.empty()) {
        TellBroken(schedule, options, problem);
        return 1;
    }
    std::cout << "all promises held\n";
    return 0;
}

int Search(const Options& options, const World::Wishes& wishes)
{
    Counts& counts = Shared<Counts>();
    const auto began = std::chrono::steady_clock::now();
    std::vector<pid_t> workers;
    for (unsigned int job = 0; job < options.jobs; ++job) {
        std::cout << std::flush;
        const pid_t pid = ::fork();
        if (pid == 0) {
            PlayAll(options, wishes, job, counts);
            std::cout << std::flush;
            ::_exit(0);
        }
        if (pid == -1) { // those that run come to their end
            std::cerr << "simulation: a worker cannot be started: " << std::strerror(errno) << "\n";
            break;
        }
        workers.push_back(pid);
    }
    bool areWhole = true;
    for (const pid_t worker : workers) {
        int status = 0;
        ::waitpid(worker, &status, 0);
        areWhole = areWhole && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    std::cout << counts.played << " schedules, " << counts.effects << " effects, " << counts.broken << " broken, "
              << std::fixed << std::setprecision(0) << seconds << " s, " << static_cast<double>(counts.played) / seconds
              << " a second\n";
    if (!areWhole) {
        std::cerr << "simulation: a worker died\n";
    }
    const bool hasEndedAtFirst = options.endsAtFirst && counts.broken != 0;
    if (counts.played != options.count && !hasEndedAtFirst) {
        std::cerr << "simulation: not all schedules were played\n";
        areWhole = false;
    }
    return areWhole && counts.broken == 0 ? 0 : 1;
}

// Each forked process would look for the libraries' symbols again.
void BindAtOnce(char** argv)
{
    if (::setenv("LD_BIND_NOW", "1", 0) == 0 && std::getenv("SIMULATION_IS_BOUND") == nullptr &&
        ::setenv("SIMULATION_IS_BOUND", "1", 1) == 0) {
        ::execv("/proc/self/exe", argv);
    }
}

} // namespace

int main(int argc, char** argv)
{
    BindAtOnce(argv);
    Options options;
    CLI::App app("Plays schedules of failures with zavctl on a simulated array, and looks whether promises hold");
    app.add_option("--first", options.first, "The first schedule's number")->capture_default_str();
    app.add_option("--count", options.count, "How many schedules")->capture_default_str();
    app.add_option("--jobs", options.jobs, "How many at once")->check(CLI::Range(1U, 256U));
    app.add_option("--replay", options.replay, "Play this schedule alone");
    app.add_option("--without", options.without, "Leave a part of the system out, to see that it is missed")
        ->check(CLI::IsMember({"flush", "lock", "settling", "chain"}));
    app.add_option("--memory", options.memoryEvery,
                   "In place of schedules: let each N-th allocation of memory of each command fail, one in a run");
    app.add_flag("--leaks", options.looksForLeaks,
                 "With --memory: run the command again in the same process, and see that it holds no more memory then");
    app.add_flag("-v,--verbose", options.isTalkative, "With --replay: tell each effect and the library's log");
    app.add_flag("--end-at-first", options.endsAtFirst, "End with the first broken promise");
    CLI11_PARSE(app, argc, argv);
    World::Wishes wishes;
    for (const std::string& part : options.without) {
        wishes.planted.insert(PLANTED.at(part));
    }
    try {
        if (options.memoryEvery != 0) {
            return SearchMemory(options, wishes);
        }
        return options.replay.empty() ? Search(options, wishes) : Replay(options, wishes);
    } catch (const std::exception& error) {
        std::cerr << "simulation: " << error.what() << "\n";
        return 2;
    }
}

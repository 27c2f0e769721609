#include "base/program.h"
#include "bench/child.h"
#include "bench/stage.h"
#include "bench/topic.h"

#include <filesystem>
#include <map>
#include <memory>

namespace fs = std::filesystem;

// zavctl as a whole, in processes of its own.

namespace {

constexpr int ALL_LUNS = 100000;
constexpr int FEW_LUNS = 1000;

const SimulatedArray& ArrayWith(int luns)
{
    static std::map<int, std::unique_ptr<SimulatedArray>> arrays;
    auto& array = arrays[luns];
    if (array == nullptr) {
        array = Stage::Get().StartArray(luns);
    }
    return *array;
}

/// zavctl has its folders about it, and so lies in the stage's.
std::string Zavctl()
{
    const fs::path folder = Stage::Get().Folder();
    const fs::path program = folder / "bin/zavctl";
    if (!fs::exists(program)) {
        fs::create_directories(folder / "bin");
        fs::create_directories(folder / "conf");
        fs::copy_file(Stage::ProgramPath("zavctl"), program);
    }
    return program.string();
}

void Account(benchmark::State& state, const std::vector<std::string>& words)
{
    double seconds = 0;
    for (auto _ : state) {
        seconds += RunChild(words).cpuSeconds;
    }
    state.counters[Quantity::CPU] = seconds / static_cast<double>(state.iterations());
}

std::vector<std::string> InventoryWords(int luns, int page)
{
    return {Zavctl(),      "inventory",         "--env", Stage::Get().EnvironmentFileOf(ArrayWith(luns)),
            "--page-size", std::to_string(page)};
}

void ReadPeak(benchmark::State& state, int luns, int page)
{
    std::vector<std::string> words = InventoryWords(luns, page);
    words.insert(words.begin(), Stage::ProgramPath("peak_memory"));
    for (auto _ : state) {
        state.counters["peak-bytes"] = std::stod(Base::RunProgram(words).output);
    }
}

void PrintInventoryByHand(benchmark::State& state, int page)
{
    Account(state, {"python3", std::string(BENCH_FOLDER) + "/inventory_by_hand.py", ArrayWith(ALL_LUNS).Url(),
                    Stage::Get().CertificateAuthority(), std::to_string(page)});
}

constexpr const char* NODE_PORT = "21000024ff000001"; // of the node's one FC adapter

/// An array, and a node that zavctl has prepared on it before.
const SimulatedArray& ArrayOfPreparedNode()
{
    static const std::unique_ptr<SimulatedArray> array = [] {
        WriteProgram(Stage::Get().Folder() + "/bin/cat",
                     std::string("case $1 in\n    /sys/class/fc_host/*) echo 0x") + NODE_PORT +
                         " ;;\n    *) echo InitiatorName=iqn.2020-01.local.node:01 ;;\nesac\n");
        auto started = Stage::Get().StartArray(1, {"--service", "127.0.0.1", "--fc-online", NODE_PORT});
        RunChild({Zavctl(), "init", "--env", Stage::Get().EnvironmentFileOf(*started)});
        return started;
    }();
    return *array;
}

std::vector<std::string> InitWords()
{
    return {Zavctl(), "init", "--env", Stage::Get().EnvironmentFileOf(ArrayOfPreparedNode())};
}

void InitAgain(benchmark::State& state)
{
    Account(state, InitWords());
}

/// The command line that asks what zavctl asks. Its one request that changes nothing, as the array has the port, is a
/// GET here.
const std::vector<std::string>& ByHandWords()
{
    static const std::vector<std::string> words = [] {
        const SimulatedArray& array = ArrayOfPreparedNode();
        array.TakeRequests();
        RunChild(InitWords());
        const Stage& stage = Stage::Get();
        std::vector<std::string> command = {Stage::ProgramPath("init_by_hand"), array.Url(),
                                            stage.CertificateAuthority(), stage.Folder()};
        for (const SimulatedArray::Request& request : array.TakeRequests()) {
            if (request.resource.rfind("sessions", 0) != 0 && request.resource.rfind("/sessions", 0) != 0) {
                command.push_back(request.resource);
            }
        }
        return command;
    }();
    return words;
}

void InitByHand(benchmark::State& state)
{
    Account(state, ByHandWords());
}

void CountConnections(benchmark::State& state)
{
    const SimulatedArray& array = ArrayOfPreparedNode();
    array.TakeRequests();
    for (auto _ : state) {
        RunChild(InitWords());
    }
    state.counters["connections"] = array.TakeConnections();
}

void TellOne(benchmark::State& state)
{
    for (auto _ : state) {
    }
    state.counters["connections"] = 1;
}

Side InventoryWith(int luns, int page)
{
    return [luns, page](benchmark::State& state) { Account(state, InventoryWords(luns, page)); };
}

Side PeakWith(int luns, int page)
{
    return [luns, page](benchmark::State& state) { ReadPeak(state, luns, page); };
}

Side InventoryByHandWith(int page)
{
    return [page](benchmark::State& state) { PrintInventoryByHand(state, page); };
}

} // namespace

Topics ProgramTopics()
{
    constexpr int SMALL_PAGE = 100;
    constexpr int USUAL_PAGE = 500;
    Topic small = {"inventory/pages-of-100",         "`zavctl inventory`, 100,000 LUNs, pages of 100",
                   "python3 with requests and json", InventoryWith(ALL_LUNS, SMALL_PAGE),
                   InventoryByHandWith(SMALL_PAGE),  {{Quantity::CPU, 0.55}}};
    Topic usual = {"inventory/pages-of-500",         "the same, pages of 500",
                   "python3 with requests and json", InventoryWith(ALL_LUNS, USUAL_PAGE),
                   InventoryByHandWith(USUAL_PAGE),  {{Quantity::CPU, 0.7}}};
    Topic memory = {"inventory-memory",
                    "`zavctl inventory`, 1,000,000 LUNs",
                    "of 1,000 LUNs",
                    PeakWith(Stage::LUNS, USUAL_PAGE),
                    PeakWith(FEW_LUNS, USUAL_PAGE),
                    {{"peak-bytes", 1.05}}};
    Topic connections = {"init-connections", "a `zavctl init`", "one for all requests",
                         CountConnections,   TellOne,           {{"connections", 1}}};
    Topic init = {
        "second-init", "a second `zavctl init`", "the same requests, flushed writes and popens by hand", InitAgain,
        InitByHand,    {{Quantity::WALL, 1.15}}};
    init.repetitions = 21;
    init.seconds = 0;
    small.repetitions = usual.repetitions = 3;
    memory.repetitions = connections.repetitions = 1;
    small.seconds = usual.seconds = memory.seconds = connections.seconds = 0;
    return {init, connections, small, usual, memory};
}

#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_PROCESS_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_PROCESS_H

#include "tests/simulation/messages.h"
#include "tests/simulation/shared_page.h"

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace Simulation {

/// What is left out of the system on purpose, to see that it is found.
enum class Planted { NoFlush, NoLock, NoSettling, NoChain };

/// How a process of the simulated node is.
struct ProcessSetup {
    int socket = -1; ///< to the world
    SharedPage* page = nullptr;
    std::uint64_t seed = 0;    ///< of its random bytes
    std::string folder;        ///< the product's: bin/zavctl would lie in it
    std::set<Planted> planted; ///< what it does without
    bool isTalkative = false;  ///< prints its log on standard error
};

/// One process of the simulated node, seen from inside. Everything that it does to the world around it goes through
/// here, and waits until the world lets it go on. Only the thread that entered is part of the simulation.
namespace Process {

/// From now on the calling thread is in the simulation.
void Enter(const ProcessSetup& setup);

/// Whether the calling thread is.
bool IsInside() noexcept;
const ProcessSetup& Setup();
bool Lacks(Planted part);

/// Asks the world, and waits for what it says.
Message Ask(const Message& question);

/// The same for an effect on files, of which the world needs not know as long as nothing is to happen: "ok".
Message AskForFile(const Message& question);

/// While one lives, the calling thread is in what stands for the system: its memory is not the process's.
class InSystem {
public:
    InSystem() noexcept;
    InSystem(const InSystem&) = delete;
    InSystem& operator=(const InSystem&) = delete;
    ~InSystem();
    static bool IsAny() noexcept;
};

/// Virtual time.
void Sleep(std::chrono::nanoseconds duration);

/// Random bytes, of the process's seed.
void Fill(unsigned char* buffer, unsigned int count);

} // namespace Process

namespace Process {

/// How many blocks of memory the thread that entered has allocated and not freed; against another process's count.
std::int64_t HeldBlocks() noexcept;

} // namespace Process

/// Runs zavctl with these arguments in this process, and returns what it ends with.
int RunZavctl(const std::vector<std::string>& arguments);

} // namespace Simulation

#endif

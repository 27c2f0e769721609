#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_WORLD_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_WORLD_H

#include "tests/simulation/disk.h"
#include "tests/simulation/process.h"
#include "tests/simulation/schedule.h"
#include "tests/simulation/simulated_array.h"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Simulation {

/// A promise that did not hold; the text says which.
class Broken : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A node and its array on virtual time. The node's processes are real ones, of which one runs at a time: each stops at
/// every effect that it has, and goes on when the world answered it. So a schedule gives the same run each time.
class World {
public:
    /// What is wanted of one run.
    struct Wishes {
        std::set<Planted> planted;
        bool isTalkative = false; ///< tells each effect, and what processes print, on standard error
    };

    /// `folder` is emptied and becomes the product's. The page is mapped by all processes.
    World(const Schedule& schedule, const Wishes& wishes, const std::string& folder, SharedPage& page);
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World();

    using Arguments = std::vector<std::string>;

    /// Runs so many processes of zavctl at once to their end, and those that events start. Their exit codes, nothing
    /// for one that was killed. Throws Broken when one ended in another way than it may.
    std::vector<std::optional<int>> Run(const std::vector<Arguments>& processes);

    /// From now on no event happens.
    void Calm();

    /// From now on the n-th allocation of the processes fails; 0: none. How many there were since the last call.
    std::uint64_t FailAllocation(std::uint64_t n) noexcept;

    /// Whether from now on each process runs its command again, with memory enough, before it ends.
    void LetRunAgain(bool runsAgain) noexcept { m_page.runsAgain = runsAgain; }

    /// How many blocks of memory the last such process held at its end.
    std::int64_t HeldBlocks() const noexcept { return m_page.heldBlocks; }

    SimulatedArray& Array() noexcept { return m_array; }
    std::string Record() const;
    std::string Journal() const;

    /// All that the last processes printed.
    std::string Printed() const;

    /// Whether anything but the node's own processes changed the array.
    bool HadOperator() const noexcept { return m_hadOperator; }

    /// Whether something could not be written: the journal goes on without an entry then.
    bool HadFullDisk() const noexcept { return m_hadFullDisk; }

    /// How many sessions may be left: those of killed processes, and those whose login was not answered.
    std::size_t AllowedSessions() const noexcept { return m_allowedSessions; }

    /// Throws Broken when password or token of a session lies in any file.
    void RequireNoSecrets() const;

    /// Called when a process ended by itself.
    std::function<void(const Arguments&, int)> onEnd;

private:
    struct Node {
        pid_t pid = -1;
        int socket = -1;
        Arguments arguments;
        Message question;
        std::int64_t wakeAt = 0; ///< it sleeps until then
        unsigned int waits = 0;  ///< pauses of a watch so far
        bool isDoomed = false;   ///< killed at its next effect
        std::optional<int> code;
        bool isOver = false;
    };

    void Start(const Arguments& arguments);
    void Listen(Node& node);
    void RunAgain(const Arguments& arguments) const;
    void Kill(Node& node);
    void CutPower(std::uint64_t detail);
    void Serve(Node& node);
    bool Happens(const Event& event, Node& node); // false: the process is gone
    Message Answer(Node& node, std::optional<std::uint64_t> fault);
    Message AnswerRequest(Node& node, std::optional<std::uint64_t> fault);
    Message AnswerShell(const Node& node, std::optional<std::uint64_t> fault);
    Message AnswerFile(const Node& node, std::optional<std::uint64_t> fault);
    void Pass(std::chrono::nanoseconds duration);
    void Tell(const std::string& text) const;
    std::size_t Living() const;
    const Event* NextEvent() const;
    void Arm();

    const Schedule m_schedule;
    const Wishes m_wishes;
    const std::string m_folder;
    SharedPage& m_page;
    std::mt19937_64 m_random;
    SimulatedArray m_array;
    std::unique_ptr<Disk> m_disk;
    std::vector<std::unique_ptr<Node>> m_nodes;
    std::size_t m_nextEvent = 0; ///< index into the schedule's events
    unsigned int m_started = 0;
    bool m_isLoggedIntoPortal = false;
    bool m_hadOperator = false;
    bool m_tracksFlushes = false;
    bool m_startsMore = false;
    bool m_hadFullDisk = false;
    bool m_mayRunOutOfMemory = false;
    std::size_t m_allowedSessions = 0;
};

} // namespace Simulation

#endif

#include "tests/simulation/process.h"

#include <unistd.h>

#include <random>

namespace Simulation::Process {

namespace {

struct Inside {
    ProcessSetup setup;
    std::mt19937_64 random;
};

Inside& TheProcess()
{
    static Inside process;
    return process;
}

thread_local bool isInside = false;
thread_local unsigned int inSystem = 0;

} // namespace

void Enter(const ProcessSetup& setup)
{
    TheProcess().setup = setup;
    TheProcess().random.seed(setup.seed);
    isInside = true;
}

bool IsInside() noexcept
{
    return isInside;
}

const ProcessSetup& Setup()
{
    return TheProcess().setup;
}

bool Lacks(Planted part)
{
    return isInside && TheProcess().setup.planted.count(part) != 0;
}

InSystem::InSystem() noexcept
{
    ++inSystem;
}

InSystem::~InSystem()
{
    --inSystem;
}

bool InSystem::IsAny() noexcept
{
    return inSystem != 0;
}

Message Ask(const Message& question)
{
    Message answer;
    Send(TheProcess().setup.socket, question);
    if (!Receive(TheProcess().setup.socket, answer)) {
        ::_exit(99); // the world is gone
    }
    return answer;
}

Message AskForFile(const Message& question)
{
    SharedPage& page = *TheProcess().setup.page;
    if (!page.asksForAll && page.effects + 1 < page.nextEvent) {
        ++page.effects;
        return {"ok"};
    }
    return Ask(question);
}

void Sleep(std::chrono::nanoseconds duration)
{
    const InSystem system;
    if (duration.count() > 0) {
        Ask({"sleep", std::to_string(duration.count())});
    }
}

void Fill(unsigned char* buffer, unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i) {
        buffer[i] = static_cast<unsigned char>(TheProcess().random());
    }
}

} // namespace Simulation::Process

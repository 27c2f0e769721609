// The memory of a process of the simulated node: one allocation may fail, whoever asks for it.

#include "tests/simulation/process.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

// Of the thread that takes part: the others run when they like.
std::int64_t heldBlocks = 0;

void Free(void* memory) noexcept
{
    heldBlocks -= memory != nullptr && Simulation::Process::IsInside() ? 1 : 0;
    std::free(memory); // NOLINT(*-no-malloc): see Allocate
}

void* Allocate(std::size_t size)
{
    if (Simulation::Process::IsInside() && !Simulation::Process::InSystem::IsAny()) {
        Simulation::SharedPage& page = *Simulation::Process::Setup().page;
        if (++page.allocations == page.failingAllocation) {
            throw std::bad_alloc();
        }
    }
    void* const memory = std::malloc(size != 0 ? size : 1); // NOLINT(*-no-malloc): this is where it comes from
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    heldBlocks += Simulation::Process::IsInside() ? 1 : 0;
    return memory;
}

} // namespace

std::int64_t Simulation::Process::HeldBlocks() noexcept
{
    return heldBlocks;
}

// Seen by the libraries too, in front of the standard library's own.
#pragma GCC visibility push(default)

void* operator new(std::size_t size)
{
    return Allocate(size);
}

void* operator new[](std::size_t size)
{
    return Allocate(size);
}

void operator delete(void* memory) noexcept
{
    Free(memory);
}

void operator delete[](void* memory) noexcept
{
    Free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    Free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    Free(memory);
}

#pragma GCC visibility pop

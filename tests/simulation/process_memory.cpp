// The memory of a process of the simulated node: one allocation may fail, whoever asks for it.

#include "tests/simulation/process.h"

#include <cstdlib>
#include <new>

namespace {

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
    return memory;
}

} // namespace

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
    std::free(memory); // NOLINT(*-no-malloc)
}

void operator delete[](void* memory) noexcept
{
    std::free(memory); // NOLINT(*-no-malloc)
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory); // NOLINT(*-no-malloc)
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory); // NOLINT(*-no-malloc)
}

#pragma GCC visibility pop

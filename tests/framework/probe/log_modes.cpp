#include "tests/framework/probe/modes.h"

#include "common/framework/config_reader.h"
#include "common/framework/log_proxy.h"
#include "tests/framework/probe/movable_clock.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <new>
#include <thread>
#include <vector>

namespace {

std::atomic<unsigned long> allocationCount = 0;

void Say(int level, const std::string& text)
{
    LogProxy(level, "Probe", 0, GetFunctionName(__PRETTY_FUNCTION__), __LINE__) << 0 << text;
}

/// Made before anything of the framework is used, and so destroyed after all that is made at its first use.
struct LastWord {
    bool isAsked = false;

    ~LastWord()
    {
        if (isAsked) {
            const int level = ConfigReader::getInt("Log", "Level", true);
            Say(4, "from a static object's destructor, level " + std::to_string(level));
        }
    }
};

LastWord lastWord;

} // namespace

void* operator new(std::size_t size)
{
    ++allocationCount;
    void* const block = std::malloc(size == 0 ? 1 : size); // NOLINT: this is an allocator
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept
{
    std::free(block); // NOLINT: this is an allocator
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block); // NOLINT: this is an allocator
}

int Probe::Log(const Words& words)
{
    for (std::size_t index = 1; index < words.size(); ++index) {
        Say(std::stoi(words[0]), words[index]);
    }
    return 0;
}

int Probe::LogThroughLink(const Words& words)
{
    const std::string& link = words.at(0);
    for (std::size_t index = 1; index < words.size(); ++index) {
        const std::string& step = words[index];
        if (step.at(0) == '>') {
            std::filesystem::remove(link);
            std::filesystem::create_symlink(step.substr(1), link);
            LetPass(std::chrono::seconds(11)); // longer than until a lost file is tried again
        } else {
            Say(1, step);
        }
    }
    return 0;
}

int Probe::LogAtOnce(const Words& /*words*/)
{
    constexpr int THREADS = 8;
    std::atomic<int> ready = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&ready, thread] {
            for (++ready; ready < THREADS;) {
                std::this_thread::yield();
            }
            Say(4, "from thread " + std::to_string(thread));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 0;
}

int Probe::LogAtExit(const Words& /*words*/)
{
    lastWord.isAsked = true;
    Say(1, "in main");
    return 0;
}

int Probe::SilentLines(const Words& /*words*/)
{
    const std::string text(1000, 'x');
    LogProxy(1, "Probe", 0, "SilentLines", __LINE__) << 0 << text; // reads the configuration
    const unsigned long before = allocationCount;
    for (int line = 0; line < 1000; ++line) {
        LogProxy(1, "Probe", 0, GetFunctionName(__PRETTY_FUNCTION__), __LINE__) << 0 << text << line << 1.5;
    }
    std::cout << allocationCount - before << " allocations\n";
    return 0;
}

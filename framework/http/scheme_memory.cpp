#include "framework/http/scheme_memory.h"

#include "framework/support/immortal.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace Framework::SchemeMemory {

namespace {

constexpr std::size_t MAX_SERVERS = 1024; // a program that talks to more forgets all, and learns again

struct Memory {
    std::mutex mutex;
    std::map<std::string, std::string> schemes; // guarded by mutex; by server, in small letters
};

std::string InSmallLetters(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return text;
}

} // namespace

void Remember(const std::string& server, const std::string& scheme)
{
    const std::string key = InSmallLetters(server);
    auto& memory = Immortal<Memory>();
    const std::lock_guard<std::mutex> guard(memory.mutex);
    if (memory.schemes.size() >= MAX_SERVERS && memory.schemes.count(key) == 0) {
        memory.schemes.clear();
    }
    memory.schemes[key] = scheme;
}

std::string Find(const std::string& server)
{
    auto& memory = Immortal<Memory>();
    const std::lock_guard<std::mutex> guard(memory.mutex);
    const auto found = memory.schemes.find(InSmallLetters(server));
    return found == memory.schemes.end() ? std::string() : found->second;
}

} // namespace Framework::SchemeMemory

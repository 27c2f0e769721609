#include "bench/accepted.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

Accepted::Accepted(const std::string& path)
{
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error(path + " cannot be read");
    }
    for (std::string text; std::getline(file, text);) {
        if (text.empty() || text.front() == '#') {
            continue;
        }
        std::istringstream words(text);
        std::string name;
        Entry entry;
        words >> name >> entry.ratio >> std::ws;
        std::getline(words, entry.reason);
        if (entry.ratio <= 0 || entry.reason.empty()) {
            throw std::runtime_error(path + ": not a name, a ratio and a reason: " + text);
        }
        m_entries[name] = entry;
    }
}

const Accepted::Entry* Accepted::Find(const std::string& name) const
{
    const auto found = m_entries.find(name);
    return found == m_entries.end() ? nullptr : &found->second;
}

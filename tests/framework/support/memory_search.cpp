#include "tests/framework/support/memory_search.h"

#include "common/framework/random_bytes.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

char Turn(char character)
{
    return static_cast<char>(~character);
}

struct Range {
    unsigned long begin = 0;
    unsigned long end = 0;
};

std::vector<Range> WritableRanges()
{
    constexpr unsigned long MAX_SIZE = 1UL << 30; // above are the tables of a sanitizer
    std::vector<Range> ranges;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        Range range;
        char dash = 0;
        std::string permissions;
        std::istringstream fields(line);
        fields >> std::hex >> range.begin >> dash >> range.end >> permissions;
        if (permissions.substr(0, 2) == "rw" && range.end - range.begin <= MAX_SIZE) {
            ranges.push_back(range);
        }
    }
    return ranges;
}

} // namespace

HiddenText HiddenText::Random(const std::string& label)
{
    std::string turned;
    for (const char character : label) {
        turned += Turn(character);
    }
    std::array<unsigned char, 24> bytes = {};
    getRandBytes(bytes.data(), bytes.size());
    for (const unsigned char byte : bytes) {
        turned += Turn(static_cast<char>('a' + byte % 26));
    }
    return HiddenText(turned);
}

std::string HiddenText::Reveal() const
{
    std::string text(m_turned.size(), '\0');
    std::transform(m_turned.begin(), m_turned.end(), text.begin(), Turn);
    return text;
}

std::size_t HiddenText::CountInMemory() const
{
    const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    const std::size_t overlap = m_turned.size() - 1;
    std::vector<char> chunk(1 << 20);
    std::size_t count = 0;
    for (const Range& range : WritableRanges()) {
        for (unsigned long start = range.begin; start < range.end; start += chunk.size() - overlap) {
            const std::size_t wanted = std::min<std::size_t>(chunk.size(), range.end - start);
            const ssize_t size = ::pread(memory, chunk.data(), wanted, static_cast<off_t>(start));
            const auto end = chunk.begin() + std::max<ssize_t>(size, 0);
            std::transform(chunk.begin(), end, chunk.begin(), Turn);
            for (auto found = chunk.begin();;) {
                found = std::search(found, end, m_turned.begin(), m_turned.end());
                if (found == end) {
                    break;
                }
                ++count;
                ++found;
            }
            std::fill(chunk.begin(), chunk.end(), '\0'); // nothing is found here when this buffer is read itself
            if (wanted < chunk.size()) {
                break;
            }
        }
    }
    ::close(memory);
    return count;
}

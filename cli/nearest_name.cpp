#include "cli/nearest_name.h"

#include <algorithm>
#include <numeric>

namespace {

// How many letters are to be put in, left out, changed, or swapped with their neighbour.
std::size_t Distance(const std::string& one, const std::string& other)
{
    std::vector<std::size_t> before;
    std::vector<std::size_t> last(other.size() + 1);
    std::iota(last.begin(), last.end(), 0U);
    for (std::size_t i = 1; i <= one.size(); ++i) {
        std::vector<std::size_t> row(other.size() + 1, i);
        for (std::size_t j = 1; j <= other.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (one[i - 1] == other[j - 1] ? 0U : 1U)});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before = std::move(last);
        last = std::move(row);
    }
    return last.back();
}

} // namespace

std::string NearestName(const std::string& typed, const std::vector<std::string>& names)
{
    const std::size_t most = std::max<std::size_t>(2, typed.size() / 3);
    std::string nearest;
    std::size_t least = most + 1;
    for (const std::string& name : names) {
        const std::size_t distance = Distance(typed, name);
        if (distance < least && distance < name.size()) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

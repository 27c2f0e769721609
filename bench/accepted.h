#ifndef PRODUCT_STORAGE_BENCH_ACCEPTED_H
#define PRODUCT_STORAGE_BENCH_ACCEPTED_H

#include <map>
#include <string>

/// The bounds that are known to be missed, with how far and why.
class Accepted {
public:
    /// A figure may be this much worse than it stands here before it counts as worse: machines differ, and moments do.
    static constexpr double TOLERANCE = 1.15;

    struct Entry {
        double ratio = 0;
        std::string reason;
    };

    /// Reads lines of "NAME RATIO REASON"; those that begin with # are comments. Throws std::runtime_error naming a
    /// line that is none.
    explicit Accepted(const std::string& path);

    /// Null for a bound that is to be met.
    const Entry* Find(const std::string& name) const;

private:
    std::map<std::string, Entry> m_entries;
};

#endif

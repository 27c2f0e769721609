#ifndef ZAVSIM_HTTP_JOURNAL_H
#define ZAVSIM_HTTP_JOURNAL_H

#include "simulator/http/message.h"

#include <json/value.h>

#include <chrono>
#include <deque>
#include <mutex>

namespace ZavSim {

/// The last requests that came in, in the order of their coming, with what became of them. Secrets are masked before
/// they are kept. Any thread may call.
class Journal {
public:
    explicit Journal(std::size_t capacity)
        : m_capacity(capacity)
    {
    }

    /// Notes a request that has just come and returns its number, from 1 on; the oldest entry goes when it is full.
    std::uint64_t Begin(const HttpRequest& request);

    /// Adds the answer. `fault` is the kind of the fault that hit the request, empty when none did.
    void End(std::uint64_t number, const HttpAnswer& answer, const std::string& fault);

    /// {"last": number of the newest request ever, "lost": how many beyond `since` are no longer here, "entries":
    /// [...]}
    Json::Value Since(std::uint64_t since) const;

    /// Forgets the entries; numbers go on.
    void Clear();

private:
    struct Entry {
        std::uint64_t number;
        std::chrono::steady_clock::time_point begin;
        Json::Value record;
    };

    const std::size_t m_capacity;
    mutable std::mutex m_lock;
    std::uint64_t m_last = 0;    // guarded by m_lock
    std::uint64_t m_cleared = 0; // guarded by m_lock; number of the last entry that Clear forgot
    std::deque<Entry> m_entries; // guarded by m_lock; ascending numbers without gaps
};

} // namespace ZavSim

#endif

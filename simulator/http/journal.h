#ifndef ZAVSIM_HTTP_JOURNAL_H
#define ZAVSIM_HTTP_JOURNAL_H

#include "simulator/http/event_feed.h"
#include "simulator/message/message.h"

#include <json/value.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <limits>
#include <mutex>
#include <string>

namespace ZavSim {

/// The last requests that came in, in the order of their coming, with what became of them. Secrets are masked before
/// they are kept. Of the bodies, which are bounded each, those of the oldest entries go first when they are too much
/// together. Any thread may call.
class Journal {
public:
    static constexpr std::size_t MOST_BODY_BYTES = 32ULL * 1024 * 1024;

    explicit Journal(std::size_t capacity)
        : m_capacity(capacity)
    {
    }

    /// Notes a request that has just come and returns its number, from 1 on; the oldest entry goes when it is full.
    std::uint64_t Begin(const HttpRequest& request);

    /// Adds the answer. `fault` is the kind of the fault that hit the request, empty when none did; `shown` what may be
    /// shown of the answer's body, empty for nothing.
    void End(std::uint64_t number, const HttpAnswer& answer, const std::string& fault, const std::string& shown = "");

    /// {"last": number of the newest request ever, "lost": how many beyond `since` are no longer here, "entries":
    /// [...]}, of the entries the `most` newest.
    Json::Value Since(std::uint64_t since, std::size_t most = std::numeric_limits<std::size_t>::max()) const;

    /// Forgets the entries; numbers go on.
    void Clear();

    /// Gets an event "request" for each entry when it begins and "answer" when it ends, with the entry.
    EventFeed& Events() noexcept { return m_events; }

private:
    struct Entry {
        std::uint64_t number;
        std::chrono::steady_clock::time_point begin;
        Json::Value record;
        std::string body;      ///< of the request, as masked JSON text, which takes a fraction of what its value does
        std::size_t bodyBytes; ///< with the answer's
    };

    Entry* Find(std::uint64_t number);               // requires m_lock
    void CountBody(Entry& entry, std::size_t bytes); // requires m_lock

    const std::size_t m_capacity;
    EventFeed m_events;
    mutable std::mutex m_lock;
    std::uint64_t m_last = 0;          // guarded by m_lock
    std::uint64_t m_cleared = 0;       // guarded by m_lock; number of the last entry that Clear forgot
    std::size_t m_bodyBytes = 0;       // guarded by m_lock
    std::uint64_t m_firstWithBody = 1; // guarded by m_lock; number of the first entry that may still have bodies
    std::deque<Entry> m_entries;       // guarded by m_lock; ascending numbers without gaps
};

} // namespace ZavSim

#endif

#ifndef ZAVSIM_HTTP_EVENT_FEED_H
#define ZAVSIM_HTTP_EVENT_FEED_H

#include <json/value.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ZavSim {

/// What waits to be sent to one reader of events, in the form of server-sent events. Bounded: a reader that does not
/// keep up loses what waits, is told so by an event "resync", and gets no more: it is to ask for everything anew. Any
/// thread may call.
class EventQueue {
public:
    static constexpr std::size_t MOST_BYTES = 1024ULL * 1024;

    void Push(const std::string& event);

    /// All that waits; empty when nothing does.
    std::string Take();

    /// Nothing comes any more beyond what waits.
    bool IsOver() const;

    /// `wake` is called, under the queue's lock, when something comes to wait where nothing did. To be set once, by the
    /// reader, who takes afterwards what waits already.
    void SetWake(std::function<void()> wake);

private:
    mutable std::mutex m_lock;
    std::string m_waiting;        // guarded by m_lock
    bool m_isOver = false;        // guarded by m_lock
    std::function<void()> m_wake; // guarded by m_lock; may be empty
};

/// Tells what happens to all who look, and costs one look at a number when nobody does. Any thread may call.
class EventFeed {
public:
    static constexpr std::size_t MOST_READERS = 16;

    /// A queue that gets every event from now on, for as long as somebody holds it; null when there are too many.
    std::shared_ptr<EventQueue> Subscribe();

    /// False when nobody looks, and soon after the last one stopped.
    bool IsWatched() const noexcept { return m_readers != 0; }

    /// `data` is told as JSON.
    void Publish(const char* name, const Json::Value& data);

private:
    void Prune(); // requires m_lock

    std::atomic<std::size_t> m_readers{0};
    std::mutex m_lock;
    std::vector<std::weak_ptr<EventQueue>> m_queues; // guarded by m_lock
};

/// The text of one event as it is sent.
std::string EventText(const char* name, const Json::Value& data);

} // namespace ZavSim

#endif

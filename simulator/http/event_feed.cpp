#include "simulator/http/event_feed.h"

#include "simulator/json/json_io.h"

#include <algorithm>

namespace ZavSim {

void EventQueue::Push(const std::string& event)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_isOver) {
        return;
    }
    const bool isFirst = m_waiting.empty();
    if (m_waiting.size() + event.size() > MOST_BYTES) {
        m_waiting = EventText("resync", Json::objectValue);
        m_isOver = true;
    } else {
        m_waiting += event;
    }
    if (isFirst && m_wake) {
        m_wake();
    }
}

std::string EventQueue::Take()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    std::string taken;
    taken.swap(m_waiting);
    return taken;
}

bool EventQueue::IsOver() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_isOver;
}

void EventQueue::SetWake(std::function<void()> wake)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_wake = std::move(wake);
}

std::shared_ptr<EventQueue> EventFeed::Subscribe()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    Prune();
    if (m_queues.size() == MOST_READERS) {
        return nullptr;
    }
    auto queue = std::make_shared<EventQueue>();
    m_queues.push_back(queue);
    m_readers = m_queues.size();
    return queue;
}

void EventFeed::Publish(const char* name, const Json::Value& data)
{
    if (!IsWatched()) {
        return;
    }
    const std::string event = EventText(name, data);
    const std::lock_guard<std::mutex> guard(m_lock);
    Prune();
    for (const auto& each : m_queues) {
        if (const auto queue = each.lock()) {
            queue->Push(event);
        }
    }
}

void EventFeed::Prune()
{
    m_queues.erase(std::remove_if(m_queues.begin(), m_queues.end(), [](const auto& queue) { return queue.expired(); }),
                   m_queues.end());
    m_readers = m_queues.size();
}

std::string EventText(const char* name, const Json::Value& data)
{
    return std::string("event: ") + name + "\ndata: " + WriteJson(data) + "\n\n";
}

} // namespace ZavSim

#include "simulator/http/listener_set.h"

#include <algorithm>

namespace ZavSim {

void ListenerSet::Add(std::unique_ptr<Listener> listener)
{
    m_listeners.push_back(std::move(listener));
}

void ListenerSet::StartAll()
{
    for (const auto& listener : m_listeners) {
        listener->Start();
    }
}

void ListenerSet::StopAll()
{
    for (const auto& listener : m_listeners) {
        listener->Stop();
    }
}

void ListenerSet::Clear()
{
    m_listeners.clear();
}

Listener* ListenerSet::Find(const std::string& url) const
{
    const auto found = std::find_if(m_listeners.begin(), m_listeners.end(),
                                    [&url](const auto& listener) { return listener->Url() == url; });
    return found == m_listeners.end() ? nullptr : found->get();
}

} // namespace ZavSim

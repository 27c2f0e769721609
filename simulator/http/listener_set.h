#ifndef ZAVSIM_HTTP_LISTENER_SET_H
#define ZAVSIM_HTTP_LISTENER_SET_H

#include "simulator/http/listener.h"

#include <memory>
#include <string>
#include <vector>

namespace ZavSim {

/// All addresses of the simulator. Filled before any of them serves; from then on any thread may call.
class ListenerSet {
public:
    void Add(std::unique_ptr<Listener> listener);

    /// Starts all in their order. Throws what Listener::Start throws; those before the failing one then listen.
    void StartAll();

    /// Stops all.
    void StopAll();

    /// Stops all and forgets them, once no other thread looks at them.
    void Clear();

    const std::vector<std::unique_ptr<Listener>>& All() const noexcept { return m_listeners; }

    /// Null when none has this URL.
    Listener* Find(const std::string& url) const;

private:
    std::vector<std::unique_ptr<Listener>> m_listeners;
};

} // namespace ZavSim

#endif

#ifndef ZAVSIM_HTTP_HANDLER_H
#define ZAVSIM_HTTP_HANDLER_H

#include "simulator/faults/fault.h"
#include "simulator/http/message.h"

#include <chrono>

namespace ZavSim {

/// A simulated system, as the listeners see it. Called by many threads at once.
class HttpHandler {
public:
    virtual ~HttpHandler() = default;

    virtual HttpAnswer Handle(const HttpRequest& request) = 0;

    /// Tells the client of `request` the code of a fault on request, in the form in which this system tells codes.
    virtual HttpAnswer Refuse(const HttpRequest& request, const Fault& fault) const = 0;
};

/// The client at the other end of the connection that a request came on.
class Peer {
public:
    virtual ~Peer() = default;

    /// Waits until the client is gone or the listener is stopped, which is true, or until the time is over, which is
    /// false. No limit means to wait for the first two only.
    virtual bool WaitGone(std::optional<std::chrono::milliseconds> limit) = 0;
};

} // namespace ZavSim

#endif

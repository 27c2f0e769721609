#ifndef ZAVSIM_HTTP_HANDLER_H
#define ZAVSIM_HTTP_HANDLER_H

#include "simulator/faults/fault.h"
#include "simulator/message/message.h"

namespace ZavSim {

/// A simulated system, as the listeners see it. Called by many threads at once.
class HttpHandler {
public:
    virtual ~HttpHandler() = default;

    virtual HttpAnswer Handle(const HttpRequest& request) = 0;

    /// Tells the client of `request` the code of a fault on request, in the form in which this system tells codes.
    virtual HttpAnswer Refuse(const HttpRequest& request, const Fault& fault) const = 0;
};

} // namespace ZavSim

#endif

#ifndef ZAVSIM_ADMIN_CALLERS_H
#define ZAVSIM_ADMIN_CALLERS_H

#include "simulator/message/message.h"

namespace ZavSim {

/// Why the sender of a request may not steer the simulator; null when it may. Clients on this machine may; of pages in
/// a browser only the simulator's own.
const char* ObjectionTo(const HttpRequest& request);

} // namespace ZavSim

#endif

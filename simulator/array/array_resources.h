#ifndef ZAVSIM_ARRAY_ARRAY_RESOURCES_H
#define ZAVSIM_ARRAY_ARRAY_RESOURCES_H

#include "simulator/array/array_system.h"
#include "simulator/array/parameters.h"

#include <json/value.h>

#include <string>
#include <vector>

namespace ZavSim {

/// A request of a client that is logged in, to one of the array's resources.
struct ResourceCall {
    ArraySystem& array;
    std::uint64_t session;
    std::string method;
    std::vector<std::string> pieces; ///< of the path behind the device id
    Parameters parameters;
};

/// Carries the call out and returns the answer's "data", null when it has none. Throws Refusal.
Json::Value CallResource(const ResourceCall& call);

} // namespace ZavSim

#endif

#ifndef ZAVSIM_ARRAY_STATE_JSON_H
#define ZAVSIM_ARRAY_STATE_JSON_H

#include "simulator/array/state.h"

#include <json/value.h>

namespace ZavSim {

/// The state as the state file holds it. `serial` says whose state it is.
Json::Value StateToJson(const State& state, const std::string& serial);

/// The reverse. Throws std::runtime_error naming the first member that is missing, malformed, contradicts another, or
/// speaks of a LUN that an array of `lunCount` LUNs has not, or when it is another array's state.
State StateFromJson(const Json::Value& root, const std::string& serial, std::uint64_t lunCount);

} // namespace ZavSim

#endif

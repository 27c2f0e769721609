#ifndef ZAVSIM_ARRAY_RECORDS_H
#define ZAVSIM_ARRAY_RECORDS_H

#include "simulator/array/inventory.h"
#include "simulator/array/state.h"

#include <json/value.h>

namespace ZavSim {

/// An existing object as the array describes it to clients; every value is a text.
Json::Value RecordOf(const State& state, const Inventory& inventory, Kind kind, const std::string& id);

/// All objects but the LUNs, of which only counts and the deleted ones are told, with everything that they are joined
/// to; for people and tests.
Json::Value DumpObjects(const State& state);

} // namespace ZavSim

#endif

#ifndef ZAVSIM_DATAPLANE_EXPORTS_H
#define ZAVSIM_DATAPLANE_EXPORTS_H

#include "simulator/array/state.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>

namespace ZavSim {

/// An initiator that the array knows: an iSCSI name or an FC port name of 16 lower-case hexadecimal digits.
struct Initiator {
    Kind kind = Kind::IscsiInitiator;
    std::string id;

    bool operator<(const Initiator& other) const { return std::tie(kind, id) < std::tie(other.kind, other.id); }
    bool operator==(const Initiator& other) const { return kind == other.kind && id == other.id; }
};

using LunNumber = std::uint32_t;

/// The LUNs of one initiator: the number under which it sees each, and the array's id of that LUN.
using LunTable = std::map<LunNumber, std::uint64_t>;

/// What each known initiator sees. One that sees nothing yet is there with an empty table: it may log in.
using Exports = std::map<Initiator, LunTable>;

/// Numbers count from 1, as 0 is the target's own; the highest that the plain form of a LUN number can tell.
constexpr LunNumber HIGHEST_LUN_NUMBER = 16383;

/// Works out what each initiator sees from the array's objects: the LUNs of every LUN group that a mapping view joins
/// with a host group that holds the initiator's host. A LUN keeps the number that it had in `before`; a new one takes
/// the lowest that is free. Snapshots are not exported. Throws std::runtime_error naming the initiator when it would
/// see more LUNs than there are numbers.
Exports WorkOutExports(const State& state, const Exports& before);

} // namespace ZavSim

#endif

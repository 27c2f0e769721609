#ifndef ZAVSIM_ARRAY_OPERATIONS_H
#define ZAVSIM_ARRAY_OPERATIONS_H

#include "simulator/array/state.h"

namespace ZavSim {

/// What a client may do with the array's objects. Each operation either does its work or throws a Refusal and has
/// changed nothing. They hold no lock and do no input or output.

/// The id under which the array keeps what the client calls `id`: FC port names are folded to lower case.
std::string CanonicalId(Kind kind, const std::string& id);

/// Whether it is an FC port's name: 16 hexadecimal digits.
bool IsPortName(const std::string& text);

/// Makes a named object and returns its id. A snapshot needs its parent LUN's id in `parent`; other kinds ignore it.
std::string CreateObject(State& state, Kind kind, const std::string& name, const std::string& parent);

/// Registers an initiator, whose id comes from the client.
void RegisterInitiator(State& state, Kind kind, const std::string& id);

/// Only what nothing holds and what holds nothing can be deleted.
void DeleteObject(State& state, Kind kind, const std::string& id);

void Associate(State& state, Kind container, const std::string& containerId, Kind member, const std::string& memberId);
void Dissociate(State& state, Kind container, const std::string& containerId, Kind member, const std::string& memberId);

/// Takes an initiator off the host that it is on, whichever that is.
void RemoveFromHost(State& state, Kind initiator, const std::string& id);

/// The members of one kind in a container that must exist.
const IdSet& Members(const State& state, Kind container, const std::string& containerId, Kind member);

/// The containers of one kind that hold a member that must exist.
const IdSet& Holders(const State& state, Kind member, const std::string& memberId, Kind container);

/// Throws the kind's own "gone" code when the object does not exist.
void RequireObject(const State& state, Kind kind, const std::string& id);

/// Reports an FC port as seen or not seen on the fabric; it need not be registered.
void SetPortOnline(State& state, const std::string& wwn, bool online);

} // namespace ZavSim

#endif

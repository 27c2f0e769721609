#ifndef ZAVSIM_DATAPLANE_FC_FABRIC_H
#define ZAVSIM_DATAPLANE_FC_FABRIC_H

#include <set>
#include <string>
#include <vector>

namespace ZavSim {

/// "20:00:02:00:00:00:00:0b" from "200002000000000b".
std::string WithColons(const std::string& portName);

/// The ports that the machine's own FC ports of these names see online on their fabric, by their names of 16 lower-case
/// digits. `classFolder` is /sys/class, or a folder like it.
std::set<std::string> PortsSeenBy(const std::vector<std::string>& ownPorts, const std::string& classFolder);

} // namespace ZavSim

#endif

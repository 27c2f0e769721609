#ifndef ZAVSIM_OPTIONS_OPTIONS_H
#define ZAVSIM_OPTIONS_OPTIONS_H

#include "simulator/access/accounts.h"
#include "simulator/array/array_system.h"
#include "simulator/cluster/cluster_system.h"
#include "simulator/faults/fault.h"
#include "simulator/http/acceptor.h"
#include "simulator/http/listen_address.h"
#include "simulator/options/data_plane_arguments.h"

#include <optional>
#include <string>
#include <vector>

namespace ZavSim {

struct ClusterOptions {
    std::vector<ListenAddress> listen; ///< empty: there is no cluster
    ClusterShape shape;
    Accounts accounts;
};

/// What the command line asks for, checked as far as that goes without opening anything but password files.
struct Options {
    std::vector<ListenAddress> listen; ///< of the array
    ArrayShape shape;
    Accounts accounts;
    ClusterOptions cluster;
    SessionLimits sessions;
    ServerLimits server;
    std::string certificateFolder = "zavsim-ca";
    std::string stateFile; ///< empty: nothing is kept
    std::size_t journal = 10000;
    std::uint64_t seed = 1;
    std::vector<Fault> faults;
    std::vector<std::string> onlinePorts;
    DataPlaneOptions dataPlane;
};

/// Reads the command line. Without a value the program is to end at once with the status put into `status`: 0 after
/// --help, 2 after a bad argument, which is told on standard error.
std::optional<Options> ParseOptions(int argc, const char* const* argv, int& status);

} // namespace ZavSim

#endif

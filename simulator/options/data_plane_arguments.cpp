#include "simulator/options/data_plane_arguments.h"

#include "simulator/array/operations.h"
#include "simulator/dataplane/tgt_daemon.h"

#include <CLI/CLI.hpp>

#include <stdexcept>

namespace ZavSim {

namespace {

constexpr const char* STANDARD_TGT_SOCKET = "/run/tgtd/socket.0";

void CompleteTgt(DataPlaneOptions& options, const ArrayShape& shape)
{
    if (options.tgtSockets.empty() && shape.serviceAddresses.size() == 1) {
        options.tgtSockets = {STANDARD_TGT_SOCKET};
    }
    if (shape.serviceAddresses.empty() || options.tgtSockets.size() != shape.serviceAddresses.size()) {
        throw std::invalid_argument("--data-plane tgt: there must be a --service, and a --tgt-socket for each of them "
                                    "in their order, not " +
                                    std::to_string(options.tgtSockets.size()) + " for " +
                                    std::to_string(shape.serviceAddresses.size()));
    }
    for (const std::string& socket : options.tgtSockets) {
        TgtDaemon{socket}; // checks its form
    }
}

void RequireUnused(const std::vector<std::string>& values, const char* option, const char* kind)
{
    if (!values.empty()) {
        throw std::invalid_argument(std::string(option) + " goes with --data-plane " + kind);
    }
}

} // namespace

void DeclareDataPlane(CLI::App& app, DataPlaneOptions& options)
{
    app.add_option("--data-plane", options.kind, "How initiators reach the LUNs: none, tgt or lio")
        ->check(CLI::IsMember({"none", "tgt", "lio"}));
    app.add_option("--data-dir", options.folder, "Folder of the LUNs' contents, made when missing");
    app.add_option("--tgt-socket", options.tgtSockets,
                   "Control socket of the tgtd of a --service address, in their order");
    app.add_option("--fc-target", options.fcTargets, "Own FC port name that is to be a target; may be repeated");
    app.add_option("--configfs", options.configfs, "Where the kernel's configuration file system is mounted");
}

std::string CheckedPortName(const std::string& option, const std::string& name)
{
    if (!IsPortName(name)) {
        throw std::invalid_argument(option + ": an FC port name must be 16 hexadecimal digits, not \"" + name + "\"");
    }
    return CanonicalId(Kind::FcInitiator, name);
}

void CompleteDataPlane(DataPlaneOptions& options, const ArrayShape& shape)
{
    if (options.kind != "tgt") {
        RequireUnused(options.tgtSockets, "--tgt-socket", "tgt");
    }
    if (options.kind != "lio") {
        RequireUnused(options.fcTargets, "--fc-target", "lio");
    }
    if ((options.kind == "none") != options.folder.empty()) {
        throw std::invalid_argument("--data-plane and --data-dir go together: one says how the LUNs are reached, the "
                                    "other where their contents are");
    }
    for (std::string& port : options.fcTargets) {
        port = CheckedPortName("--fc-target", port);
    }
    if (options.kind == "tgt") {
        CompleteTgt(options, shape);
    }
}

} // namespace ZavSim

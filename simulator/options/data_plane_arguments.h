#ifndef ZAVSIM_OPTIONS_DATA_PLANE_ARGUMENTS_H
#define ZAVSIM_OPTIONS_DATA_PLANE_ARGUMENTS_H

#include "simulator/array/inventory.h"
#include "simulator/dataplane/data_plane.h"

#include <string>

namespace CLI {
class App;
}

namespace ZavSim {

void DeclareDataPlane(CLI::App& app, DataPlaneOptions& options);

/// The FC port name in its final form. Throws std::invalid_argument naming the option.
std::string CheckedPortName(const std::string& option, const std::string& name);

/// Checks the options against each other and against the service addresses, and puts them into their final form.
/// Throws std::invalid_argument naming the option.
void CompleteDataPlane(DataPlaneOptions& options, const ArrayShape& shape);

} // namespace ZavSim

#endif

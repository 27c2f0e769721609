#ifndef ZAVSIM_DATAPLANE_COMMAND_H
#define ZAVSIM_DATAPLANE_COMMAND_H

#include <string>
#include <vector>

namespace ZavSim {

struct CommandResult {
    int status = -1; ///< exit status, or 128 and the signal that ended it
    std::string output;
    std::string errors;
};

/// Runs a program, found on the search path, with these words and with the settings ("NAME=value") added to the
/// environment; no shell is in between. Throws std::runtime_error naming the program when it cannot be started, or
/// when it does not end within ten seconds, in which case it is ended.
CommandResult RunCommand(const std::vector<std::string>& words, const std::vector<std::string>& settings);

} // namespace ZavSim

#endif

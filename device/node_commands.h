#ifndef PRODUCT_STORAGE_DEVICE_NODE_COMMANDS_H
#define PRODUCT_STORAGE_DEVICE_NODE_COMMANDS_H

#include <string>
#include <string_view>
#include <vector>

/// Shell commands by which the library learns about its node and logs it in.
namespace NodeCommand {

using Lines = std::vector<std::string>;

/// The result of runShellCmdWithOutput.
int Run(const std::string& command, const Lines& params, Lines& out, Lines& err);

/// A line of `operation` with what a failed iscsiadm said, in its own words; none when it said nothing.
void TellComplaint(std::string_view operation, const Lines& err);

} // namespace NodeCommand

#endif

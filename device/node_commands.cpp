#include "device/node_commands.h"

#include "base/printable_text.h"
#include "common/framework/shell_runner.h"
#include "common/log.h"
#include "device/log_module.h"

namespace {

const std::string SHELL_MODULE = "ZavStorage_RunShell";

} // namespace

namespace NodeCommand {

int Run(const std::string& command, const Lines& params, Lines& out, Lines& err)
{
    return runShellCmdWithOutput(severity_level::Info, SHELL_MODULE, 0, command, params, out, err);
}

void TellComplaint(std::string_view operation, const Lines& err)
{
    if (!err.empty()) {
        PS_LOG_AS(operation, 4) << "iscsiadm said: " << Base::PrintableLines(err);
    }
}

} // namespace NodeCommand

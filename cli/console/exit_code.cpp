#include "cli/console/exit_code.h"

#include "common/result_codes.h"

#include <cerrno>

ExitCode ExitCodeOf(int requestCode) noexcept
{
    switch (requestCode) {
    case ResultCode::TRANSPORT_ERROR:
    case ResultCode::CLUSTER_TRANSPORT_ERROR:
    case ArrayCode::REQUEST_TIMED_OUT:
    case ArrayCode::CONNECTION_FAILED:
        return ExitCode::Unreachable;
    default:
        return ExitCode::Refused;
    }
}

ExitCode ExitCodeOfFile(int errorNumber) noexcept
{
    return errorNumber == EACCES || errorNumber == EPERM ? ExitCode::NoPermission : ExitCode::Unusable;
}

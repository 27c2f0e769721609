#ifndef PRODUCT_STORAGE_CLI_DOCTOR_FINDING_H
#define PRODUCT_STORAGE_CLI_DOCTOR_FINDING_H

#include "cli/console/exit_code.h"

#include <string>
#include <vector>

namespace Doctor {

enum class Severity {
    Warning, ///< all works, and will not for ever, or not as well as it might
    Error,   ///< something does not work
};

/// Something that is not as it should be.
struct Finding {
    Severity severity;
    std::string seen;
    std::string remedy;  ///< in words
    std::string command; ///< the line for this node's shell that mends it; empty where none does
    ExitCode exit;       ///< what the command ends with when an error is the first
};

using Findings = std::vector<Finding>;

} // namespace Doctor

#endif

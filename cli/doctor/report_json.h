#ifndef PRODUCT_STORAGE_CLI_DOCTOR_REPORT_JSON_H
#define PRODUCT_STORAGE_CLI_DOCTOR_REPORT_JSON_H

#include "cli/doctor/probes.h"

#include <json/value.h>

#include <vector>

namespace Doctor {

const char* WordOf(Severity severity);

/// What the command ends with: the code of the first error, since what is looked at first is a cause of what comes
/// behind it rather than the other way; Partly where there are warnings only.
ExitCode ExitCodeOf(const std::vector<Told>& all);

/// {"schema", "well", "findings", "exit"}.
Json::Value ToJson(const std::vector<Told>& all);

} // namespace Doctor

#endif

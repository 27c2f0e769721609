#ifndef PRODUCT_STORAGE_CLI_DOCTOR_ARRAY_ANSWERS_H
#define PRODUCT_STORAGE_CLI_DOCTOR_ARRAY_ANSWERS_H

#include "cli/doctor/patient.h"

#include <string>

namespace Doctor {

/// Asks the array for itself, its ports and pools, and all that the record and this node's initiators name there, and
/// gives a line of JSON to each request: "resource", "milliseconds", "code", "description" of a refusal, "data". Empty
/// where no login came about.
std::string ArrayAnswers(const Patient& patient);

} // namespace Doctor

#endif

#ifndef PRODUCT_STORAGE_CLI_DOCTOR_BUNDLE_H
#define PRODUCT_STORAGE_CLI_DOCTOR_BUNDLE_H

#include "cli/doctor/probes.h"

#include <string>
#include <vector>

/// What support needs of a node and its array in one file, without a password, key, token or cookie.
namespace Doctor::Bundle {

/// Throws Failure where `path` cannot be written, or is there already and is not to be overwritten. Changes nothing.
void RequirePlace(const std::string& path, bool mayOverwrite);

/// Packs versions, findings, configuration, environment, records, journal, the log's tail and what the array answers to
/// a few questions into a compressed archive at `path`, which this user alone may read. Throws Failure naming what
/// could not be written.
void Write(const std::string& path, bool mayOverwrite, const Patient& patient, const std::vector<Told>& findings);

} // namespace Doctor::Bundle

#endif

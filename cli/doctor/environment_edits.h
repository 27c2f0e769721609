#ifndef PRODUCT_STORAGE_CLI_DOCTOR_ENVIRONMENT_EDITS_H
#define PRODUCT_STORAGE_CLI_DOCTOR_ENVIRONMENT_EDITS_H

#include "cli/doctor/patient.h"

#include <string>

/// Command lines that change the environment's file or the configuration. None of them changes what else stands there.
/// Those of the environment are empty where its text is not written so that they would change it.
namespace Doctor::Edit {

/// The environment's file as a word of a command line; "FILE" where it came on standard input.
std::string FileOf(const Patient& patient);

/// Takes a management address out; where it is that to log in at, the next becomes so. Empty where there is no other.
std::string WithoutAddress(const Patient& patient, const std::string& address);

/// Replaces the encrypted password by the one in the file PASSWORD_FILE, encrypted with this node's key.
std::string WithNewPassword(const Patient& patient, bool isNewKeyWanted);

/// Sets a member that is a list of one number.
std::string WithNumber(const Patient& patient, const std::string& member, int number);

/// Gives a key of the configuration's file a value, whether it stands there already or not.
std::string WithSetting(const std::string& section, const std::string& key, const std::string& value);

} // namespace Doctor::Edit

#endif

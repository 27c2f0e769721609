#ifndef PRODUCT_STORAGE_CLI_ENVIRONMENT_FILE_H
#define PRODUCT_STORAGE_CLI_ENVIRONMENT_FILE_H

#include "common/framework/product_messages.pb.h"

#include <string>

/// Reads an environment from a file that holds the message as protobuf JSON. Throws Failure when the file cannot be
/// read or is no such message.
EnvironmentPath ReadEnvironment(const std::string& path);

#endif

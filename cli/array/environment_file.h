#ifndef PRODUCT_STORAGE_CLI_ARRAY_ENVIRONMENT_FILE_H
#define PRODUCT_STORAGE_CLI_ARRAY_ENVIRONMENT_FILE_H

#include "common/framework/product_messages.pb.h"

#include <string>

/// The path that stands for standard input, which can be read once.
inline constexpr const char* STANDARD_INPUT = "-";

/// What a path is called before users.
std::string NameOfEnvironment(const std::string& path);

/// The text of an environment, whatever it is. Throws Failure when it cannot be read.
std::string ReadEnvironmentText(const std::string& path);

/// Reads the message from protobuf JSON. Returns what is wrong with the text, on one line and with its place; empty
/// when `env` is read, else `env` is undefined.
std::string ParseEnvironment(const std::string& text, EnvironmentPath& env);

/// Reads an environment from a file, or from standard input, that holds the message as protobuf JSON. Throws Failure
/// when it cannot be read or is no such message.
EnvironmentPath ReadEnvironment(const std::string& path);

/// An environment as ReadEnvironment takes it, a member to a line.
std::string WriteEnvironment(const EnvironmentPath& env);

#endif

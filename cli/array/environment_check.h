#ifndef PRODUCT_STORAGE_CLI_ARRAY_ENVIRONMENT_CHECK_H
#define PRODUCT_STORAGE_CLI_ARRAY_ENVIRONMENT_CHECK_H

#include "common/framework/product_messages.pb.h"

#include <functional>
#include <string>
#include <vector>

/// What an environment cannot be used with, and what is odd about it. No password is ever told.
struct EnvironmentFindings {
    std::vector<std::string> faults;
    std::vector<std::string> warnings;
};

/// Why an encrypted password cannot be decrypted here; empty when it can.
using DecryptionProblem = std::function<std::string(const std::string& cipher)>;

/// Everything that is to be said of an environment's text, in protobuf's JSON form. Nothing is read or asked but the
/// text and `problemOf`.
EnvironmentFindings CheckEnvironment(const std::string& text, const DecryptionProblem& problemOf);

/// Why an environment cannot have this address; empty when it can. An IPv6 address has to stand in brackets.
std::string ProblemOfAddress(const std::string& address);

#endif

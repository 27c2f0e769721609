#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_PROGRAM_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_PROGRAM_H

#include <string>
#include <vector>

/// What a program did.
struct ProgramResult {
    int status = -1; ///< its exit status
    std::string output;
    std::string error;
};

/// Runs a program to its end. `arguments` begins with its path. Each of `variables` is "NAME=value", beside this
/// process's own.
ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& variables = {});

/// The program that uses the framework in ways that a test's own process cannot.
std::string ProbePath();

#endif

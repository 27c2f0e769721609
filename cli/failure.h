#ifndef PRODUCT_STORAGE_CLI_FAILURE_H
#define PRODUCT_STORAGE_CLI_FAILURE_H

#include "cli/exit_code.h"

#include <stdexcept>
#include <string>

/// Ends a command: the text names what failed and where, and is printed behind "zavctl: ".
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& text)
        : std::runtime_error(text)
        , m_code(code)
    {
    }

    ExitCode Code() const noexcept { return m_code; }

private:
    ExitCode m_code;
};

#endif

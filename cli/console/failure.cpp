#include "cli/console/failure.h"

#include "common/result_codes.h"

std::string ReasonOf(const std::string& errorText, int requestCode)
{
    if (requestCode == ResultCode::FAILED) {
        return ": " + (errorText.empty() ? "the answer cannot be used" : errorText);
    }
    const bool isInText = errorText.find("(libcurl ") != std::string::npos;
    return (errorText.empty() ? "" : ": " + errorText) + (isInText ? "" : " (" + std::to_string(requestCode) + ")");
}

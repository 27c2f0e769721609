#include "cli/console/failure.h"

#include "common/result_codes.h"

#include <string_view>

namespace {

constexpr std::string_view BEFORE_NUMBER = "(libcurl ";

} // namespace

Failure Failure::OfRequest(ExitCode code, const std::string& text, const std::string& errorText, int requestCode)
{
    Failure failure(code, text + ReasonOf(errorText, requestCode));
    failure.m_number = NumberGiven(errorText, requestCode);
    return failure;
}

Failure Failure::OfLibraryRequest(const std::string& text, ExitCode code, int requestCode)
{
    Failure failure = OfLibrary(text, code);
    failure.m_number = NumberGiven("", requestCode);
    failure.m_requestCode = requestCode;
    return failure;
}

Failure Failure::Behind(const std::string& words) const
{
    Failure failure(m_code, words + what());
    failure.m_number = m_number;
    failure.m_requestCode = m_requestCode;
    failure.m_isCauseLogged = m_isCauseLogged;
    failure.m_areOthersLogged = m_areOthersLogged;
    return failure;
}

std::string ReasonOf(const std::string& errorText, int requestCode)
{
    if (requestCode == ResultCode::FAILED) {
        return ": " + (errorText.empty() ? "the answer cannot be used" : errorText);
    }
    const bool isInText = errorText.find(BEFORE_NUMBER) != std::string::npos;
    return (errorText.empty() ? "" : ": " + errorText) + (isInText ? "" : " (" + std::to_string(requestCode) + ")");
}

std::string NumberGiven(const std::string& errorText, int requestCode)
{
    const std::size_t start = errorText.rfind(BEFORE_NUMBER);
    if (start != std::string::npos) {
        const std::size_t digits = start + BEFORE_NUMBER.size();
        const std::size_t end = errorText.find_first_not_of("0123456789", digits);
        if (end != std::string::npos && end != digits && errorText[end] == ')') {
            return errorText.substr(start + 1, end - start - 1);
        }
    }
    return requestCode == ResultCode::FAILED ? "" : std::to_string(requestCode);
}

#ifndef PRODUCT_STORAGE_CLI_CONSOLE_FAILURE_H
#define PRODUCT_STORAGE_CLI_CONSOLE_FAILURE_H

#include "cli/console/exit_code.h"

#include <optional>
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

    /// Of a request that failed: ReasonOf stands behind `text`, and its number is the failure's.
    static Failure OfRequest(ExitCode code, const std::string& text, const std::string& errorText, int requestCode);

    /// Of an operation of the library that tells no more than that it failed: why is in what it logged. Where that says
    /// more than `code` being Refused, it counts.
    static Failure OfLibrary(const std::string& text, ExitCode code = ExitCode::Refused)
    {
        Failure failure(code, text);
        failure.m_isCauseLogged = true;
        return failure;
    }

    /// The same of one that gives the code of the request that it ended at: only what was said to that one counts.
    /// Others before it may have been refused without harm.
    static Failure OfLibraryRequest(const std::string& text, ExitCode code, int requestCode);

    /// Of a login that came to nothing at several addresses: `text` and `number` tell of the first, the library logged
    /// the others.
    static Failure OfLogin(const std::string& text, ExitCode code, const std::string& number)
    {
        Failure failure(code, text);
        failure.m_number = number;
        failure.m_areOthersLogged = true;
        return failure;
    }

    /// The same, its text behind `words`.
    Failure Behind(const std::string& words) const;

    ExitCode Code() const noexcept { return m_code; }

    /// As NumberGiven has it. The text may hold other numbers: names, and what this node's tools ended with.
    const std::string& Number() const noexcept { return m_number; }

    bool IsCauseLogged() const noexcept { return m_isCauseLogged; }
    bool AreOthersLogged() const noexcept { return m_areOthersLogged; }

    /// Of the request whose cause is logged; nothing where none is known.
    const std::optional<int>& RequestCode() const noexcept { return m_requestCode; }

private:
    ExitCode m_code;
    std::string m_number;
    std::optional<int> m_requestCode;
    bool m_isCauseLogged = false;
    bool m_areOthersLogged = false;
};

/// What a failed request adds to its cause: ": text (code)", without a code that says nothing more than the text.
std::string ReasonOf(const std::string& errorText, int requestCode);

/// The number that an array, a cluster or the HTTP library gave a failed request: "1077949006", "libcurl 7"; empty
/// where none of them did.
std::string NumberGiven(const std::string& errorText, int requestCode);

#endif

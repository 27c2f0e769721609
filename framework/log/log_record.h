#ifndef PRODUCT_STORAGE_FRAMEWORK_LOG_LOG_RECORD_H
#define PRODUCT_STORAGE_FRAMEWORK_LOG_LOG_RECORD_H

#include <string>
#include <string_view>

namespace Framework {

/// One line of the log before it has a form.
struct LogRecord {
    int level = 0;
    std::string_view moduleName;
    unsigned long requestId = 0;
    std::string_view functionName;
    int line = 0;
    int code = 0;
    std::string_view text;
};

/// The line as the log file holds it, without a line end: `time|level|module|request id|function|line|code|text`.
///
/// The time is that of the call, in UTC with microseconds, as in 2026-01-31T23:59:59.000001Z. A control character is
/// written as \n, \r, \t or \x and two hexadecimal digits, a backslash as two; in the module's and the function's name
/// so is '|', as \x7c. The first seven '|' of a line therefore end its first seven fields, and all that follows is
/// text.
std::string FormatForFile(const LogRecord& record);

/// The line for a person at a terminal: "error: text (Function)". Control characters are written as in the file.
std::string FormatForPerson(const LogRecord& record);

} // namespace Framework

#endif

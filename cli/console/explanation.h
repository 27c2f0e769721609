#ifndef PRODUCT_STORAGE_CLI_CONSOLE_EXPLANATION_H
#define PRODUCT_STORAGE_CLI_CONSOLE_EXPLANATION_H

#include "cli/console/failure.h"
#include "cli/console/log_tail.h"

#include <json/value.h>

#include <string>
#include <vector>

/// What is told of a failure at the end of a command: one line of cause, one of remedy, and the status.
struct Explanation {
    std::string cause;
    std::string remedy;
    ExitCode exit;
    std::string number; ///< as NumberGiven has it
};

/// `logged` is what the library logged of the operation that failed, oldest first. Where the failure does not say why,
/// the cause is the first line among it that matters: what the array, iscsiadm or the system said. Lines that every
/// fresh run has do not.
Explanation Explain(const Failure& failure, const std::vector<LogTail::Line>& logged);

/// Prints it, `when` in front of the cause.
void Tell(const Explanation& explanation, const std::string& when = {});

/// {"cause", "remedy", "exit"}, and "code" and "where" as far as they are known.
Json::Value ToJson(const Explanation& explanation);

#endif

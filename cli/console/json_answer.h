#ifndef PRODUCT_STORAGE_CLI_CONSOLE_JSON_ANSWER_H
#define PRODUCT_STORAGE_CLI_CONSOLE_JSON_ANSWER_H

#include <string>

/// Who answers on standard output, where JSON was asked for: the command, or whoever ends the process in the middle of
/// it. One of them alone, for what reads the answer takes one object.
namespace JsonAnswer {

/// The command was asked for JSON. Without that none is printed at its end.
void Expect();

/// The command's answer begins; any number of times. Does not return where the last one stands there already: the
/// process is about to end.
void Begin();

/// Tells in place of the command's answer why the process ends, unless that has begun: what has, nobody else can
/// complete. Any thread; writes past std::cout.
void PrintLast(const std::string& cause, const std::string& remedy, int exit);

} // namespace JsonAnswer

#endif

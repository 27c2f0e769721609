#ifndef PRODUCT_STORAGE_FRAMEWORK_SHELL_COMMAND_TEMPLATE_H
#define PRODUCT_STORAGE_FRAMEWORK_SHELL_COMMAND_TEMPLATE_H

#include <cstddef>
#include <string>

namespace Framework {

/// A shell command whose '?' stand for parameters.
///
/// No parameter is ever part of the command's text: each '?' becomes the expansion of a shell variable, quoted for the
/// place in which it stands, and the parameters travel in the environment. The shell never scans what an expansion
/// gives, so that no content of a parameter can end its quotes.
struct CommandTemplate {
    std::string command;            ///< with the expansions
    std::size_t parameterCount = 0; ///< how many '?' there were
    std::string problem;            ///< why the template cannot be used; empty when it can
};

/// The environment variable that holds parameter `index`, the first being 0.
std::string ParameterVariable(std::size_t index);

/// Understands '…', "…", backslashes, comments and $(…) within each other. A '?' within `…` or behind a backslash
/// cannot be filled safely and is a problem. Here-documents and ${…'…} are not understood: use none with '?'.
CommandTemplate ParseTemplate(const std::string& text);

} // namespace Framework

#endif

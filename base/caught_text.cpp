#include "base/caught_text.h"

#include <cxxabi.h>

#include <exception>

namespace Base {

// The C++ runtime binds the cancellation's reference to nothing, of which the sanitizer need not tell.
__attribute__((no_sanitize("undefined"))) std::string CaughtText()
{
    std::string text;
    try {
        throw;
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (const std::exception& error) {
        text = error.what();
    } catch (...) { // without a text
    }
    return text.empty() ? "an exception without a text" : text;
}

} // namespace Base

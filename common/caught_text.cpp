#include "common/caught_text.h"

#include <cxxabi.h>

#include <exception>

std::string CaughtText()
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

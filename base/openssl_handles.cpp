#include "base/openssl_handles.h"

#include <openssl/err.h>

#include <array>
#include <stdexcept>

namespace Base {

std::string TakeOpensslError()
{
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    if (code == 0) {
        return {};
    }
    std::array<char, 256> text;
    ERR_error_string_n(code, text.data(), text.size());
    return text.data();
}

void ThrowOpenssl(const std::string& what)
{
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    const char* const reason = code == 0 ? nullptr : ERR_reason_error_string(code);
    throw std::runtime_error(what + (reason == nullptr ? std::string() : std::string(": ") + reason));
}

} // namespace Base

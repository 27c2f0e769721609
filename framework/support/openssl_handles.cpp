#include "framework/support/openssl_handles.h"

#include <openssl/err.h>

#include <array>

namespace Framework {

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

} // namespace Framework

#include "simulator/http/openssl_handles.h"

#include <openssl/err.h>

#include <stdexcept>

namespace ZavSim {

void ThrowOpenSsl(const std::string& what)
{
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    const char* const reason = code == 0 ? nullptr : ERR_reason_error_string(code);
    throw std::runtime_error(what + (reason == nullptr ? std::string() : std::string(": ") + reason));
}

} // namespace ZavSim

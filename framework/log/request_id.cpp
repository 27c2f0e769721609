#include "common/framework/log_proxy.h"

namespace {

// Each line asks for it, also one that is left out: it lies at a fixed distance, for which the C library keeps room, so
// that no function has to be asked for its place.
[[gnu::tls_model("initial-exec")]] thread_local unsigned long currentRequestId = 0;

} // namespace

QENTSP TSP_RequestID;

unsigned long QENTSP::get() const noexcept
{
    return currentRequestId;
}

void QENTSP::set(unsigned long value) noexcept
{
    currentRequestId = value;
}

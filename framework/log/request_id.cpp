#include "common/framework/log_proxy.h"

namespace {

thread_local unsigned long currentRequestId = 0;

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

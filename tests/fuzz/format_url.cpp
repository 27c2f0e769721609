#include "device/device_operate.h"
#include "tests/fakes/fakes.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/require.h"

#include <algorithm>

using namespace Fuzz;

// An address with its port.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string address = Input(data, size).TakeRest();
    Fakes::ClearAll();
    const std::string url = DeviceOperate().FormatUrl(address);
    if (std::count(address.begin(), address.end(), ':') < 2) {
        Require(url == address, "an address of another family is left alone");
        return 0;
    }
    const std::size_t close = url.rfind("]:");
    Require(url.front() == '[' && close != std::string::npos, "an IPv6 address stands in brackets");
    Require(url.substr(1, close - 1) + url.substr(close + 1) == address, "nothing but the brackets is added");
    Require(url.find(':', close + 2) == std::string::npos, "the port stands behind them");
    return 0;
}

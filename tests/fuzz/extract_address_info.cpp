#include "device/device_set_operator.h"
#include "tests/fakes/fakes.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"
#include "tests/fuzz/support/require.h"

#include <limits>

using namespace Fuzz;

namespace {

struct Outcome {
    bool isSplit = false;
    std::string address = "before";
    unsigned int port = 7;
};

Outcome Expect(const std::string& url)
{
    Outcome outcome;
    const std::size_t schemeEnd = url.find("://");
    if (schemeEnd == std::string::npos) {
        return outcome;
    }
    const std::string rest = url.substr(schemeEnd + 3);
    const std::size_t colon = rest.find(':');
    const std::optional<std::uint64_t> number =
        colon == std::string::npos ? std::nullopt
                                   : ToNumber(rest.substr(colon + 1), std::numeric_limits<unsigned int>::max());
    outcome.isSplit = true;
    outcome.address = rest.substr(0, colon);
    outcome.port = number ? static_cast<unsigned int>(*number) : url.substr(0, schemeEnd) == "https" ? 443 : 0;
    return outcome;
}

} // namespace

// An array's base URL.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string url = Input(data, size).TakeRest();
    Fakes::ClearAll();
    Outcome outcome;
    outcome.isSplit = DeviceSetOperator::GetDeviceSetOperator()->ExtractAddressInfo(url, outcome.address, outcome.port);
    const Outcome expected = Expect(url);
    Require(outcome.isSplit == expected.isSplit, "a URL with a scheme is split");
    Require(outcome.address == expected.address, "the address ends at the first colon");
    Require(outcome.port == expected.port, "the port is the number behind it, or the scheme's own");
    return 0;
}

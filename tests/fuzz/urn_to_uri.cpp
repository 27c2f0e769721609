#include "common/disk_descriptor_manager.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/require.h"

using namespace Fuzz;

namespace {

std::string Expect(const std::string& urn)
{
    if (urn.find(':') == std::string::npos) {
        return urn;
    }
    std::string uri = "/service";
    for (std::size_t index = 3; index < urn.size(); ++index) {
        uri += urn[index] == ':' ? '/' : urn[index];
    }
    return uri;
}

} // namespace

// A URN.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string urn = Input(data, size).TakeRest();
    Require(DiskDescriptorManager::urnToUri(urn) == Expect(urn), "the URI is the URN with another front and slashes");
    return 0;
}

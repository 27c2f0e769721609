#include "tests/fuzz/support/cluster_client.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"

using namespace Fuzz;

namespace {

ParsedBody Expect(const std::string& body)
{
    ParsedBody expected;
    const std::optional<Json::Value> root = ParseJson(body);
    const std::optional<Envelope> envelope = root ? FindEnvelope(*root, "result", Described::Each) : std::nullopt;
    if (!envelope) {
        expected.errorText = root ? "Json object format is error. " : "Parse json string failed";
        return expected;
    }
    expected.result = envelope->code == 0 ? 0 : -1;
    expected.errorText = envelope->description;
    expected.errorCode = envelope->code;
    if (envelope->code == 0 && root->isMember("data")) {
        expected.data = (*root)["data"];
    }
    return expected;
}

} // namespace

// An answer's body in the newer dialect.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string body = Input(data, size).TakeRest();
    const std::unique_ptr<NimbRestApi> api = ClusterClient();
    ParsedBody actual;
    actual.result = api->ParseBodyV2(body, actual.data, actual.errorText, actual.errorCode);
    RequireSame(actual, Expect(body));
    return 0;
}

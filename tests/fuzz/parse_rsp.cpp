#include "tests/fuzz/support/array_client.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"

using namespace Fuzz;

namespace {

struct Outcome {
    int result = -1;
    std::string errorText = "untouched";
    Json::Value data = "before";
};

Outcome Expect(const std::string& body)
{
    Outcome outcome;
    const std::optional<Json::Value> root = ParseJson(body);
    const std::optional<Envelope> envelope = root ? FindEnvelope(*root, "error", Described::Refusals) : std::nullopt;
    if (!envelope) {
        outcome.errorText = root ? "Json object format is error. " : "Parse json string failed";
        return outcome;
    }
    outcome.result = envelope->code;
    if (envelope->code != 0) {
        outcome.errorText = envelope->description;
    } else if (root->isMember("data")) {
        outcome.data = (*root)["data"];
    }
    return outcome;
}

} // namespace

// An answer's body.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string body = Input(data, size).TakeRest();
    const std::unique_ptr<ZavRestApi> api = LoggedInClient();
    const Outcome expected = Expect(body);
    Outcome outcome;
    outcome.result = api->ParseRsp(body, outcome.data, outcome.errorText);
    Require(outcome.result == expected.result, "the result is the array's code, or -1 without an envelope");
    Require(outcome.errorText == expected.errorText, "the error text is set in a failure alone");
    Require(outcome.data == expected.data, "the data are those of a success that has some");
    return 0;
}

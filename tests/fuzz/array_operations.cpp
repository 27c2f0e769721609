#include "tests/fuzz/support/array_client.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"
#include "tests/unit/rest/zav_rest_operations.h"

using namespace Fuzz;

namespace {

bool KeepsWhatWasThere(const RestOperation& operation, const Outputs& out)
{
    return !out.pools.empty() && !out.luns.empty() &&
           (operation.clearsTexts || (!out.texts.empty() && out.texts.front() == "before"));
}

bool IsUntouched(const Outputs& out)
{
    return out.text == "before" && out.number == 7 && !out.flag;
}

void CheckOutcome(const RestOperation& operation, const std::string& body, int result, const std::string& errorText)
{
    const std::optional<Json::Value> root = ParseJson(body);
    const std::optional<Envelope> envelope = root ? FindEnvelope(*root, "error", Described::Refusals) : std::nullopt;
    if (!envelope) {
        Require(result == -1, "an answer without an envelope is a failure of ours");
    } else if (envelope->code != 0) {
        Require(result == envelope->code || (result == 0 && operation.method != "GET"),
                "the array's code passes through, unless a removal takes it for done");
        Require(errorText == envelope->description, "the array's description passes through");
    } else {
        Require(result == 0 || result == -1 || result == -2, "a granted request gives no other code");
        Require(errorText == "untouched", "a granted request leaves the error text alone");
    }
}

} // namespace

// Which operation; whether the answer comes whole or as the data of an envelope; the answer.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::vector<RestOperation> OPERATIONS = AllOperations();
    Input input(data, size);
    const RestOperation& operation = OPERATIONS[input.TakeByte() % OPERATIONS.size()];
    const bool isWhole = input.TakeByte() % 2 != 0;
    const Answer answer = isWhole ? Body(input.TakeRest()) : Data(input.TakeRest());

    const std::unique_ptr<ZavRestApi> api = LoggedInClient();
    Fakes::Http().Next(Answer(answer).WithCookie("c2"));
    Outputs out;
    std::string errorText = "untouched";
    const int result = operation.run(*api, out, errorText);

    Require(Fakes::Http().Requests().size() == 1, "one request is sent");
    Require(KeepsWhatWasThere(operation, out), "lists are appended to");
    Require(result == 0 || IsUntouched(out), "a failure leaves texts, numbers and flags alone");
    CheckOutcome(operation, answer.body, result, errorText);
    return 0;
}

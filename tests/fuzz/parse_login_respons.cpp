#include "tests/fuzz/support/array_client.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"

using namespace Fuzz;

// The data of a login's answer, as JSON.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::optional<Json::Value> answer = ParseJson(Input(data, size).TakeRest());
    if (!answer) {
        return 0;
    }
    const std::unique_ptr<ZavRestApi> api = LoggedInClient();
    const bool isComplete = answer->isObject() && answer->isMember("deviceid") && answer->isMember("iBaseToken") &&
                            MemberText(*answer, "deviceid") && MemberText(*answer, "iBaseToken");
    const int result = api->ParseLoginRespons(*answer);
    const Zav::SessionInfo session = SessionOf(*api);
    Require(result == (isComplete ? 0 : -1), "an answer with device id and token is accepted, and no other");
    Require(session.deviceId == (isComplete ? *MemberText(*answer, "deviceid") : "DEV1"),
            "the device id is the answer's, or stays");
    Require(session.token == (isComplete ? *MemberText(*answer, "iBaseToken") : "TOK1"),
            "the token is the answer's, or stays");
    Require(session.cookie == "c1" && session.baseUrl == "https://10.0.0.1:8088", "cookie and address stay");
    return 0;
}

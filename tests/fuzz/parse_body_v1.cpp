#include "tests/fuzz/support/cluster_client.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"

#include <limits>

using namespace Fuzz;

namespace {

constexpr const char* MALFORMED = "Json object format is error. ";

// False when the element is malformed.
bool TakeDetail(const Json::Value& element, ParsedBody& expected)
{
    const std::optional<std::string> description = MemberText(element, "description");
    if (!description) {
        return false;
    }
    const Json::Value& code = element["errorCode"]; // null, too, when it is absent
    if (!code.isNull() && !code.isInt()) {
        return false;
    }
    expected.errorText = *description;
    expected.errorCode = code.isNull() ? 0 : code.asInt();
    return true;
}

void TakeDetails(const Json::Value& details, ParsedBody& expected)
{
    bool isSound = details.isNull() || details.isArray();
    for (Json::ArrayIndex index = 0; isSound && index < details.size(); ++index) {
        isSound = TakeDetail(details[index], expected);
    }
    if (!isSound) {
        expected.errorText = MALFORMED;
    }
}

// The code is compared where it is a plain number; what a stream makes of other texts is its own.
void TakeTopLevel(const Json::Value& root, const ParsedBody& actual, ParsedBody& expected)
{
    const std::optional<std::string> description = MemberText(root, "description");
    const std::optional<std::string> code = MemberText(root, "errorCode");
    expected.errorText = description && code ? *description : MALFORMED;
    if (description && code) {
        const std::optional<std::uint64_t> number = ToNumber(*code, std::numeric_limits<int>::max());
        const bool isPlain = number && code->front() != '-';
        expected.errorCode = isPlain ? static_cast<int>(*number) : actual.errorCode;
    }
}

ParsedBody Expect(const std::string& body, const ParsedBody& actual)
{
    ParsedBody expected;
    const std::optional<Json::Value> parsed = ParseJson(body);
    if (!parsed) {
        expected.errorText = "Parse json string failed";
        return expected;
    }
    const Json::Value& root = *parsed;
    if (!root.isObject() || !root["result"].isInt()) {
        expected.errorText = MALFORMED;
    } else if (root["result"].asInt() == 1) {
        TakeDetails(root["detail"], expected);
    } else if (root["result"].asInt() == 2) {
        TakeTopLevel(root, actual, expected);
    } else {
        expected = {0, root, "", 0};
    }
    return expected;
}

} // namespace

// An answer's body in the older dialect.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string body = Input(data, size).TakeRest();
    const std::unique_ptr<NimbRestApi> api = ClusterClient();
    ParsedBody actual;
    actual.result = api->ParseBodyV1(body, actual.data, actual.errorText, actual.errorCode);
    RequireSame(actual, Expect(body, actual));
    return 0;
}

#ifndef PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_CLUSTER_CLIENT_H
#define PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_CLUSTER_CLIENT_H

#include "rest/nimb_rest_api.h"
#include "tests/fakes/fakes.h"
#include "tests/fuzz/support/require.h"

#include <memory>

namespace Fuzz {

/// A client of a storage cluster among fresh fakes. Every request that it sends is answered with `body`, that of its
/// end, too.
inline std::unique_ptr<NimbRestApi> ClusterClient(const std::string& body = "{}")
{
    Fakes::ClearAll();
    Fakes::Http().Always("", "", Body(body));
    auto api = std::make_unique<NimbRestApi>();
    Require(api->Init(), "the client has its HTTP client");
    return api;
}

/// What a parser of answers changes.
struct ParsedBody {
    int result = -1;
    Json::Value data = "before";
    std::string errorText = "untouched";
    int errorCode = 7;
};

inline void RequireSame(const ParsedBody& actual, const ParsedBody& expected)
{
    Require(actual.result == expected.result, "the result is 0 for a success alone");
    Require(actual.data == expected.data, "the data are those of a success");
    Require(actual.errorText == expected.errorText, "the error text is the answer's, or says what is wrong with it");
    Require(actual.errorCode == expected.errorCode, "the error code is the answer's, where it tells one");
}

} // namespace Fuzz

#endif

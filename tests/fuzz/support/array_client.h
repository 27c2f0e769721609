#ifndef PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_ARRAY_CLIENT_H
#define PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_ARRAY_CLIENT_H

#include "rest/zav_rest_api.h"
#include "tests/fakes/fakes.h"
#include "tests/fuzz/support/require.h"

#include <memory>

namespace Fuzz {

/// A client of an array that has just logged in, to device DEV1 with token TOK1 and cookie c1, among fresh fakes.
inline std::unique_ptr<ZavRestApi> LoggedInClient()
{
    Fakes::ClearAll();
    auto api = std::make_unique<ZavRestApi>("option");
    Fakes::Http().Next(Data(R"({"deviceid": "DEV1", "iBaseToken": "TOK1"})").WithCookie("c1; Path=/"));
    std::string errorText;
    Require(api->Login("https://10.0.0.1:8088", "admin", "secret", errorText) == 0, "the client logs in");
    Fakes::ClearAll();
    return api;
}

inline Zav::SessionInfo SessionOf(ZavRestApi& api)
{
    Zav::SessionInfo session;
    Require(api.GetSession(session), "a client that is logged in has a session");
    return session;
}

} // namespace Fuzz

#endif

#include "tests/fuzz/support/array_client.h"
#include "tests/fuzz/support/input.h"

using namespace Fuzz;

// Cookies, one a line.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    std::set<std::string> cookies;
    while (!input.IsAtEnd()) {
        cookies.insert(input.TakeLine());
    }
    const std::unique_ptr<ZavRestApi> api = LoggedInClient();
    const int result = api->ParseCookie(cookies);
    const std::string cookie = SessionOf(*api).cookie;
    if (cookies.empty()) {
        Require(result == -1 && cookie == "c1", "without a cookie the old one stays");
        return 0;
    }
    const std::string& smallest = *cookies.begin();
    Require(result == 0, "a cookie is accepted whatever it holds");
    Require(cookie.find(';') == std::string::npos, "the cookie has no attributes");
    Require((smallest + ';').compare(0, cookie.size() + 1, cookie + ';') == 0,
            "the cookie is what the smallest text begins with");
    return 0;
}

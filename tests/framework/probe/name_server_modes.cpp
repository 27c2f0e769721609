#include "tests/framework/probe/modes.h"

#include "common/framework/http_client.h"

#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

#include <iostream>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view UNANSWERED = "unanswered.test";

} // namespace

// Stands in for the system's own, for libcurl too: for this name it never returns, as with a name server that is dead.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* host, const char* service,
                                                                  const addrinfo* wish, addrinfo** found)
{
    static auto* const real = reinterpret_cast<decltype(::getaddrinfo)*>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    while (host != nullptr && host == UNANSWERED) {
        ::pause();
    }
    return real(host, service, wish, found);
}

int Probe::DeadNameServer(const Words& /*words*/)
{
    constexpr unsigned int LONGEST_SECONDS = 30;
    ::alarm(LONGEST_SECONDS); // ends a process that waits for the name server
    const std::string url = "http://" + std::string(UNANSWERED);
    const boost::shared_ptr<QEN::IHttpClient> client = QEN::IHttpClient::CreateClient();
    TMSHttpRequest request;
    request.method = "GET";
    request.url = url + "/a";
    std::cout << client->SendRequest(request, 1)->GetErrorText() << "\n"
              << (client->TestConnection(url, 1) ? "reached" : "not reached") << std::endl;
    return 0;
}

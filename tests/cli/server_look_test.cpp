#include "cli/doctor/server_look.h"
#include "tests/support/full_listener.h"
#include "tests/support/http_server.h"

#include <gmock/gmock.h>

#include <dlfcn.h>
#include <netdb.h>

#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr const char* NAME = "array.example"; // of which the names' own service knows nothing

std::vector<std::string> addressesOfName; // NOLINT: what the function below has no other way to hear

// A name with as many addresses as a test wishes.
class ServerLookTest : public ::testing::Test {
protected:
    ~ServerLookTest() override { addressesOfName.clear(); }

    static Doctor::ServerLook Look(std::vector<std::string> addresses, int port)
    {
        addressesOfName = std::move(addresses);
        return Doctor::LookAtServer(NAME, std::to_string(port), false, 2000ms);
    }

    const HttpServer m_server{"127.0.0.1", [](const ServedRequest&, HttpReply& reply) {
                                  reply.headers.emplace("Date", "Sun, 06 Nov 1994 08:49:37 GMT");
                              }};
};

} // namespace

// Stands in for the system's own; what it gives is of the kind that freeaddrinfo takes.
extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* wish, addrinfo** found)
{
    static auto* const real = reinterpret_cast<decltype(::getaddrinfo)*>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    if (host == nullptr || std::string(host) != NAME) {
        return real(host, service, wish, found);
    }
    addrinfo** next = found;
    for (const std::string& address : addressesOfName) {
        if (const int error = real(address.c_str(), service, wish, next); error != 0) {
            return error;
        }
        next = &(*next)->ai_next;
    }
    return 0;
}

namespace {

TEST_F(ServerLookTest, NameIsTriedAtEachOfItsAddresses)
{
    const Doctor::ServerLook look = Look({"::1", "127.0.0.1"}, m_server.Port());
    EXPECT_EQ(Doctor::ServerLook::Stage::Answered, look.stage) << look.problem;
    EXPECT_TRUE(look.secondsAhead.has_value());
}

TEST_F(ServerLookTest, AddressThatSwallowsConnectionsTakesItsShareOfTheTimeOnly)
{
    const FullListener full("127.0.0.2", m_server.Port());
    const Doctor::ServerLook look = Look({"127.0.0.2", "127.0.0.1"}, m_server.Port());
    EXPECT_EQ(Doctor::ServerLook::Stage::Answered, look.stage) << look.problem;
}

TEST_F(ServerLookTest, NameNoneOfWhoseAddressesAnswersIsToldByTheLast)
{
    const FullListener full("127.0.0.2", m_server.Port());
    const Doctor::ServerLook look = Look({"127.0.0.2", "127.0.0.3"}, m_server.Port());
    EXPECT_EQ(Doctor::ServerLook::Stage::Nowhere, look.stage);
    EXPECT_EQ("it takes no connection: Connection refused", look.problem);
}

} // namespace

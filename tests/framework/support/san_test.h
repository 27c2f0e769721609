#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_SAN_TEST_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_SAN_TEST_H

#include "common/framework/san_manager.h"
#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/http_exchange.h"
#include "tests/framework/support/web_server.h"

#include <memory>
#include <stdexcept>
#include <string>

inline const std::string BASE = "/deviceManager/rest/2102351234/";
inline const std::string DONE = R"({"data":{},"error":{"code":0,"description":"0"}})";

inline std::string Data(const std::string& members)
{
    return R"({"data":{)" + members + R"(},"error":{"code":0,"description":"0"}})";
}

inline std::string Refusal(int code, const std::string& description)
{
    return R"({"data":{},"error":{"code":)" + std::to_string(code) + R"(,"description":")" + description + R"("}})";
}

struct Release {
    void operator()(CDeviceManager* manager) const { CDeviceManager::releaseInstance(manager); }
};

using Manager = std::unique_ptr<CDeviceManager, Release>;

/// One request as the array sees it.
inline std::string Summary(const ServedRequest& request)
{
    const std::string resource =
        request.target.substr(0, BASE.size()) == BASE ? request.target.substr(BASE.size()) : request.target;
    return request.method + " " + resource + (request.body.empty() ? "" : " " + request.body);
}

template <typename Operation>
std::string ErrorOf(const Operation& operation)
{
    try {
        operation();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

/// A scripted array, and managers that are connected to it.
class SanTest : public FrameworkTest {
protected:
    SanTest()
    {
        m_server.Answer("GET", BASE + "system/", Data(R"("ID":"2102351234")"));
        // The login goes first; it is what tells that the array speaks http.
        m_server.Answer("POST", "/deviceManager/rest//sessions", DONE);
        QEN::IHttpClient::CreateClient()->SendRequest(
            Request("POST", m_server.Url("/deviceManager/rest//sessions"), "{}"), 20);
    }

    bool Connect(const Manager& manager, const std::string& address = "127.0.0.1")
    {
        auto port = static_cast<unsigned int>(m_server.Port());
        return manager->Connect(address, port, "2102351234", "the token", "session=the cookie");
    }

    Manager Connected()
    {
        Manager manager(CDeviceManager::getInstance(0, 500000));
        EXPECT_TRUE(Connect(manager));
        return manager;
    }

    /// The last request, as the array saw it.
    std::string LastRequest() const { return Summary(m_server.Requests().back()); }

    std::string Url() const { return m_server.Url(""); }

    WebServer m_server;
};

template <typename Handler>
Handler& HandlerOf(const Manager& manager, HANDLERTYPE type)
{
    return dynamic_cast<Handler&>(*manager->GetHandler(type));
}

#endif

#ifndef PRODUCT_STORAGE_BENCH_SCRIPTED_CLIENT_H
#define PRODUCT_STORAGE_BENCH_SCRIPTED_CLIENT_H

#include "common/framework/http_client.h"

#include <functional>
#include <string>

/// An HTTP client without a wire: takes any login, and answers each other request with one text.
class ScriptedClient : public QEN::IHttpClient {
public:
    static constexpr const char* LOGIN =
        R"({"data": {"deviceid": "DEV1", "iBaseToken": "T"}, "error": {"code": 0, "description": "0"}})";

    explicit ScriptedClient(std::string answer);

    boost::shared_ptr<QEN::IHttpResponse> SendRequest(const TMSHttpRequest& request,
                                                      unsigned int timeoutSeconds) override;
    bool TestConnection(const std::string& url, int timeoutSeconds) override;

private:
    const boost::shared_ptr<QEN::IHttpResponse> m_login;
    const boost::shared_ptr<QEN::IHttpResponse> m_answer;
};

/// Within the life of an object of this class the calling thread's new array clients have scripted HTTP clients with
/// `answer`.
class Script {
public:
    explicit Script(std::string answer);
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;
    ~Script();
};

#endif

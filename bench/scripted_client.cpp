#include "bench/scripted_client.h"

#include <boost/make_shared.hpp>

#include <dlfcn.h>

#include <memory>
#include <utility>

namespace {

class ScriptedResponse : public QEN::IHttpResponse {
public:
    ScriptedResponse(std::string body, std::set<std::string> cookies)
        : m_body(std::move(body))
        , m_cookies(std::move(cookies))
    {
    }

    bool IsSuccess() const override { return true; }
    int GetHttpStatusCode() const override { return 200; }
    const std::string& GetHttpStatusText() const override { return m_noText; }
    int IsNetworkError() const override { return 0; }
    const std::string& GetErrorText() const override { return m_noText; }
    const std::string& GetBody() const override { return m_body; }
    const std::set<std::string>& GetCookies() const override { return m_cookies; }

private:
    const std::string m_body;
    const std::set<std::string> m_cookies;
    const std::string m_noText;
};

thread_local std::unique_ptr<std::string> scriptedAnswer; // null: no script

} // namespace

ScriptedClient::ScriptedClient(std::string answer)
    : m_login(boost::make_shared<ScriptedResponse>(LOGIN, std::set<std::string>{"session=ismsession; Path=/"}))
    , m_answer(boost::make_shared<ScriptedResponse>(std::move(answer), std::set<std::string>()))
{
}

boost::shared_ptr<QEN::IHttpResponse> ScriptedClient::SendRequest(const TMSHttpRequest& request,
                                                                  unsigned int /*timeoutSeconds*/)
{
    return request.method == "POST" ? m_login : m_answer;
}

bool ScriptedClient::TestConnection(const std::string& /*url*/, int /*timeoutSeconds*/)
{
    return true;
}

Script::Script(std::string answer)
{
    scriptedAnswer = std::make_unique<std::string>(std::move(answer));
}

Script::~Script()
{
    scriptedAnswer.reset();
}

// Stands in front of the framework's own.
boost::shared_ptr<QEN::IHttpClient> QEN::IHttpClient::CreateClient()
{
    if (scriptedAnswer != nullptr) {
        return boost::make_shared<ScriptedClient>(*scriptedAnswer);
    }
    static const auto own =
        reinterpret_cast<decltype(&CreateClient)>(dlsym(RTLD_NEXT, "_ZN3QEN11IHttpClient12CreateClientEv"));
    return own();
}

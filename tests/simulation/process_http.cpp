// The HTTP client of a process of the simulated node: what it sends, the world carries out.

#include "common/framework/http_client.h"
#include "tests/simulation/process.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace {

using Simulation::Message;

class Response final : public QEN::IHttpResponse {
public:
    // {"answer", status, body, cookie...} or {"none", why}.
    explicit Response(const Message& answer)
    {
        if (answer[0] == "none") {
            m_error = answer[1];
            return;
        }
        m_status = std::stoi(answer[1]);
        m_body = answer[2];
        m_cookies.insert(answer.begin() + 3, answer.end());
    }

    bool IsSuccess() const override { return m_status >= 200 && m_status <= 299; }
    int GetHttpStatusCode() const override { return m_status; }
    const std::string& GetHttpStatusText() const override { return m_statusText; }
    int IsNetworkError() const override { return m_status == 0 ? 1 : 0; }
    const std::string& GetErrorText() const override { return m_error; }
    const std::string& GetBody() const override { return m_body; }
    const std::set<std::string>& GetCookies() const override { return m_cookies; }

private:
    int m_status = 0;
    std::string m_statusText = "a status that is no success";
    std::string m_error;
    std::string m_body;
    std::set<std::string> m_cookies;
};

class Client final : public QEN::IHttpClient {
public:
    boost::shared_ptr<QEN::IHttpResponse> SendRequest(const TMSHttpRequest& request, unsigned int timeout) override
    {
        const Simulation::Process::InSystem system;
        Message question = {"request", request.method, request.url, request.body, std::to_string(timeout)};
        for (const auto& [name, value] : request.headers) {
            question.push_back(name);
            question.push_back(value);
        }
        return boost::make_shared<Response>(Simulation::Process::Ask(question));
    }

    bool TestConnection(const std::string& url, int /*timeoutSeconds*/) override
    {
        const Simulation::Process::InSystem system;
        return Simulation::Process::Ask({"connect", url})[0] == "ok";
    }
};

} // namespace

boost::shared_ptr<QEN::IHttpClient> QEN::IHttpClient::CreateClient()
{
    return boost::make_shared<Client>();
}

#include "tests/fakes/fake_http.h"

#include "tests/fakes/fakes.h"

#include <gtest/gtest.h>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <stdexcept>

// The HTTP client's symbols.

namespace {

class FakeResponse : public QEN::IHttpResponse {
public:
    explicit FakeResponse(Answer answer)
        : m_answer(std::move(answer))
    {
    }

    bool IsSuccess() const override { return m_answer.isSuccess; }
    int GetHttpStatusCode() const override { return m_answer.status; }
    const std::string& GetHttpStatusText() const override { return m_answer.statusText; }
    int IsNetworkError() const override { return m_answer.networkError; }
    const std::string& GetErrorText() const override { return m_answer.errorText; }
    const std::string& GetBody() const override { return m_answer.body; }
    const std::set<std::string>& GetCookies() const override { return m_answer.cookies; }

private:
    const Answer m_answer;
};

class FakeClient : public QEN::IHttpClient {
public:
    boost::shared_ptr<QEN::IHttpResponse> SendRequest(const TMSHttpRequest& request,
                                                      unsigned int timeoutSeconds) override
    {
        const Answer answer = Fakes::Http().Send(request, timeoutSeconds);
        return answer.isNone ? nullptr : boost::make_shared<FakeResponse>(answer);
    }

    bool TestConnection(const std::string& url, int timeoutSeconds) override
    {
        return Fakes::Http().Test(url, timeoutSeconds);
    }
};

} // namespace

boost::shared_ptr<QEN::IHttpClient> QEN::IHttpClient::CreateClient()
{
    return Fakes::Http().MakeClient();
}

// Answers.

Answer& Answer::WithCookie(const std::string& cookie)
{
    cookies.insert(cookie);
    return *this;
}

Answer Body(const std::string& body)
{
    Answer answer;
    answer.isSuccess = true;
    answer.status = 200;
    answer.body = body;
    return answer;
}

Answer Data(const std::string& data)
{
    return Body(R"({"data": )" + data + R"(, "error": {"code": 0, "description": "0"}})");
}

Answer NoData()
{
    return Body(R"({"error": {"code": 0, "description": "0"}})");
}

Answer ArrayError(int code, const std::string& description)
{
    return Body(R"({"error": {"code": )" + std::to_string(code) + R"(, "description": ")" + description + R"("}})");
}

Answer HttpError(int status, const std::string& text)
{
    Answer answer;
    answer.status = status;
    answer.statusText = text;
    return answer;
}

Answer NetworkError(const std::string& text)
{
    Answer answer;
    answer.networkError = 7;
    answer.errorText = text;
    return answer;
}

Answer NoResponse()
{
    Answer answer;
    answer.isNone = true;
    return answer;
}

// The script.

void FakeHttp::On(const std::string& method, const std::string& urlEnd, const Answer& answer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_rules.push_back({method, urlEnd, answer, false});
}

void FakeHttp::Always(const std::string& method, const std::string& urlEnd, const Answer& answer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_rules.push_back({method, urlEnd, answer, true});
}

void FakeHttp::Next(const Answer& answer)
{
    On("", "", answer);
}

void FakeHttp::Observe(const Observer& observer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_observer = observer;
}

void FakeHttp::RefuseClients(bool isRefused)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isRefusing = isRefused;
}

void FakeHttp::Serve(const boost::shared_ptr<QEN::IHttpClient>& client)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_client = client;
}

void FakeHttp::ServeBy(const std::function<boost::shared_ptr<QEN::IHttpClient>()>& make)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_make = make;
}

void FakeHttp::ThrowOnCreate(const std::string& text)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_createError = text;
}

void FakeHttp::AcceptsConnection(const std::string& url)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_reachable.insert(url);
}

void FakeHttp::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_rules.clear();
    m_observer = nullptr;
    m_isRefusing = false;
    m_client = nullptr;
    m_make = nullptr;
    m_createError.clear();
    m_reachable.clear();
    m_requests.clear();
    m_timeouts.clear();
    m_connectionTests.clear();
    m_clientsMade = 0;
}

std::vector<TMSHttpRequest> FakeHttp::Requests() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_requests;
}

std::vector<std::string> FakeHttp::Lines() const
{
    std::vector<std::string> lines;
    for (const TMSHttpRequest& request : Requests()) {
        lines.push_back(request.method + " " + request.url);
    }
    return lines;
}

std::vector<unsigned int> FakeHttp::Timeouts() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_timeouts;
}

std::vector<std::pair<std::string, int>> FakeHttp::ConnectionTests() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_connectionTests;
}

int FakeHttp::ClientsMade() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_clientsMade;
}

boost::shared_ptr<QEN::IHttpClient> FakeHttp::MakeClient()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_make) {
        return m_make();
    }
    if (!m_createError.empty()) {
        throw std::runtime_error(m_createError);
    }
    if (m_isRefusing) {
        return nullptr;
    }
    ++m_clientsMade;
    return m_client != nullptr ? m_client : boost::make_shared<FakeClient>();
}

Answer FakeHttp::Send(const TMSHttpRequest& request, unsigned int timeoutSeconds)
{
    Observer observer;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_requests.push_back(request);
        m_timeouts.push_back(timeoutSeconds);
        observer = m_observer;
    }
    if (observer) {
        observer(request);
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto rule = std::find_if(m_rules.begin(), m_rules.end(), [&request](const Rule& candidate) {
        return (candidate.method.empty() || candidate.method == request.method) &&
               boost::ends_with(request.url, candidate.urlEnd);
    });
    if (rule == m_rules.end()) {
        ADD_FAILURE() << "no answer for " << request.method << " " << request.url << " " << request.body;
        return NoResponse();
    }
    const Answer answer = rule->answer;
    if (!rule->isLasting) {
        m_rules.erase(rule);
    }
    return answer;
}

bool FakeHttp::Test(const std::string& url, int timeoutSeconds)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_connectionTests.emplace_back(url, timeoutSeconds);
    return m_reachable.count(url) != 0;
}

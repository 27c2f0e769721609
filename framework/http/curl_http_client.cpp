#include "framework/http/curl_http_client.h"

#include "framework/config/current_config.h"
#include "framework/http/http_response.h"
#include "framework/http/request_check.h"
#include "framework/http/tcp_connection.h"
#include "framework/http/transfer.h"
#include "framework/http/url_parts.h"
#include "framework/support/log_line.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace Framework {

CurlMultiHandle ConnectionPool::Take()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (!m_waiting.empty()) {
            CurlMultiHandle connections = std::move(m_waiting.back());
            m_waiting.pop_back();
            return connections;
        }
        m_waiting.reserve(MAX_WAITING); // so that giving back needs no memory
    }
    return MakeCurlMultiHandle();
}

void ConnectionPool::GiveBack(CurlMultiHandle connections) noexcept
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (m_waiting.size() < MAX_WAITING) {
        m_waiting.push_back(std::move(connections));
    }
}

boost::shared_ptr<QEN::IHttpResponse> CurlHttpClient::SendRequest(const TMSHttpRequest& request,
                                                                  unsigned int timeoutSeconds)
{
    try {
        auto response = boost::make_shared<HttpResponse>();
        const std::string problem = FindRequestProblem(request);
        if (!problem.empty()) {
            response->Fail(CURLE_URL_MALFORMAT,
                           "A request to " + UrlForMessage(request.url) + " was not sent: " + problem);
            return response;
        }
        const auto config = Config::Current();
        CurlMultiHandle connections = m_pool.Take();
        {
            Transfer transfer(request, *config, *response);
            if (connections == nullptr || !transfer.IsReady()) {
                return nullptr;
            }
            transfer.Perform(connections.get(), timeoutSeconds);
        }
        m_pool.GiveBack(std::move(connections));
        return response;
    } catch (const std::exception&) {
        return nullptr; // out of memory
    }
}

bool CurlHttpClient::TestConnection(const std::string& url, int timeoutSeconds)
{
    try {
        UrlParts server;
        std::string problem;
        if (ParseUrl(url, server, problem)) {
            problem = TcpConnection(server, timeoutSeconds).Problem();
        }
        if (!problem.empty()) {
            FRAMEWORK_LOG(Info) << "No connection to " << UrlForMessage(url) << ": " << problem;
        }
        return problem.empty();
    } catch (const std::exception&) {
        return false; // out of memory
    }
}

} // namespace Framework

boost::shared_ptr<QEN::IHttpClient> QEN::IHttpClient::CreateClient()
{
    try {
        return boost::make_shared<Framework::CurlHttpClient>();
    } catch (const std::exception&) {
        return nullptr; // out of memory
    }
}

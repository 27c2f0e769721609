#include "framework/http/curl_http_client.h"

#include "framework/config/current_config.h"
#include "framework/http/http_response.h"
#include "framework/http/request_check.h"
#include "framework/http/tcp_connection.h"
#include "framework/http/transfer.h"
#include "framework/http/url_parts.h"
#include "framework/support/log_line.h"

#include <boost/make_shared.hpp>

#include <exception>

namespace Framework {

boost::shared_ptr<QEN::IHttpResponse> CurlHttpClient::SendRequest(const TMSHttpRequest& request,
                                                                  unsigned int timeoutSeconds)
{
    try {
        auto response = boost::make_shared<HttpResponse>();
        const auto config = Config::Recent(); // who sends much has just read it for the rate of requests
        std::string problem = FindRequestProblem(request);
        const auto server = problem.empty() ? m_servers.Find(request.url, *config, problem) : nullptr;
        if (server == nullptr) {
            response->Fail(CURLE_URL_MALFORMAT,
                           "A request to " + UrlForMessage(request.url) + " was not sent: " + problem);
            return response;
        }
        TakenConnection connection(*server);
        Transfer transfer(request, *config, *server, *response);
        return transfer.Perform(connection.Get(), timeoutSeconds) ? response : nullptr;
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

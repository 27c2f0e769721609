#include "framework/http/http_response.h"

#include "base/secret.h"
#include "framework/http/header_name.h"
#include "framework/http/url_parts.h"

#include <algorithm>

namespace Framework {

namespace {

constexpr std::string_view VERSION = "HTTP/";
constexpr std::string_view SET_COOKIE = "Set-Cookie:";

bool IsBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// "Not Found" of "HTTP/1.1 404 Not Found"; without control characters, because messages show it.
std::string Reason(std::string_view statusLine)
{
    const std::size_t afterVersion = statusLine.find(' ');
    const std::size_t afterStatus = statusLine.find(' ', std::min(afterVersion, statusLine.size() - 1) + 1);
    if (afterStatus == std::string_view::npos) {
        return {};
    }
    std::string reason(Trim(statusLine.substr(afterStatus)));
    reason.erase(std::remove_if(reason.begin(), reason.end(),
                                [](char character) { return static_cast<unsigned char>(character) < 0x20; }),
                 reason.end());
    return reason;
}

} // namespace

HttpResponse::~HttpResponse()
{
    Drop();
}

bool HttpResponse::IsSuccess() const
{
    return m_networkError == 0 && m_status >= 200 && m_status < 300;
}

void HttpResponse::TakeHeadLine(std::string_view line)
{
    if (line.substr(0, VERSION.size()) == VERSION) {
        Secret::Wipe(m_cookies);
        m_reason = Reason(line);
    } else if (IsSameHeader(line.substr(0, SET_COOKIE.size()), SET_COOKIE)) {
        std::string cookie(Trim(line.substr(SET_COOKIE.size())));
        const Secret::ScopedWipe wipe(cookie);
        m_cookies.insert(std::move(cookie)); // which moves it only where it is a new one; emplace would leave a copy
    }
}

void HttpResponse::TakeBody(const char* bytes, std::size_t size)
{
    Secret::Append(m_body, bytes, size);
}

void HttpResponse::Complete(int status, const TMSHttpRequest& request)
{
    m_status = status;
    if (!IsSuccess()) {
        m_statusText = "HTTP status " + std::to_string(status) + (m_reason.empty() ? "" : " (" + m_reason + ")") +
                       " in answer to " + RequestForMessage(request);
    }
}

void HttpResponse::Fail(int code, const std::string& errorText)
{
    Drop();
    m_status = 0;
    m_networkError = code;
    m_errorText = errorText;
}

std::string RequestForMessage(const TMSHttpRequest& request)
{
    return request.method + " " + UrlForMessage(request.url);
}

void HttpResponse::Drop() noexcept
{
    Secret::WipeOnce(m_body);
    Secret::Wipe(m_cookies);
}

} // namespace Framework

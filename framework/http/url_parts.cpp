#include "framework/http/url_parts.h"

#include "base/free_by.h"
#include "framework/http/curl_library.h"

#include <algorithm>
#include <memory>

namespace Framework {

namespace {

void FreeCurlText(char* text) noexcept
{
    curl_free(text);
}

using CurlText = std::unique_ptr<char, Base::FreeBy<FreeCurlText>>;

std::string Part(CURLU* url, CURLUPart part)
{
    char* text = nullptr;
    curl_url_get(url, part, &text, CURLU_DEFAULT_PORT);
    const CurlText owner(text);
    return text == nullptr ? std::string() : std::string(text);
}

bool IsBlankOrControl(char character)
{
    return static_cast<unsigned char>(character) <= 0x20 || character == 0x7f;
}

} // namespace

bool HasBlankOrControl(const std::string& url)
{
    return std::any_of(url.begin(), url.end(), IsBlankOrControl);
}

bool ParseUrl(const std::string& url, UrlParts& parts, std::string& problem)
{
    if (HasBlankOrControl(url)) {
        problem = "the URL has a blank or a control character in it";
        return false;
    }
    const CurlUrl parsed(curl_url());
    const CURLUcode code = parsed == nullptr ? CURLUE_OUT_OF_MEMORY
                                             : curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(),
                                                            CURLU_PATH_AS_IS | CURLU_DISALLOW_USER);
    if (code != CURLUE_OK) {
        problem = std::string("the URL is malformed: ") + curl_url_strerror(code);
        return false;
    }
    parts.scheme = Part(parsed.get(), CURLUPART_SCHEME);
    parts.host = Part(parsed.get(), CURLUPART_HOST);
    if (parts.scheme != "http" && parts.scheme != "https") {
        problem = "the URL is neither http nor https";
        return false;
    }
    parts.port = static_cast<unsigned int>(std::stoul(Part(parsed.get(), CURLUPART_PORT))); // checked by the parser
    return true;
}

std::string UrlForMessage(const std::string& url)
{
    std::string text = url.substr(0, url.find_first_of("?#"));
    const std::size_t authority = text.find("://");
    if (authority != std::string::npos) {
        const std::size_t start = authority + 3;
        const std::size_t end = std::min(text.find('/', start), text.size());
        const std::size_t at = text.substr(0, end).rfind('@');
        if (at != std::string::npos && at >= start) {
            text.erase(start, at + 1 - start);
        }
    }
    std::replace_if(text.begin(), text.end(), IsBlankOrControl, '?');
    return text;
}

} // namespace Framework

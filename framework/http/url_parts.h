#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_URL_PARTS_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_URL_PARTS_H

#include <string>

namespace Framework {

/// What a URL says of its server.
struct UrlParts {
    std::string scheme; ///< "http" or "https"
    std::string host;   ///< an IPv6 address stands in brackets
    unsigned int port = 0;

    /// "host:port"
    std::string Server() const { return host + ":" + std::to_string(port); }
};

/// No sound URL has any.
bool HasBlankOrControl(const std::string& url);

/// False, with what is wrong in `problem` and `parts` undefined, when `url` is no http or https URL, has blanks,
/// control characters or a user's name in it, or a port that is none.
bool ParseUrl(const std::string& url, UrlParts& parts, std::string& problem);

/// `url` as messages name it: without its query and fragment, and without what might stand before an '@'.
std::string UrlForMessage(const std::string& url);

} // namespace Framework

#endif

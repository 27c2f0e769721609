#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_HTTP_MESSAGE_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_HTTP_MESSAGE_H

#include <strings.h>

#include <map>
#include <string>

struct HeaderNameOrder {
    bool operator()(const std::string& left, const std::string& right) const
    {
        return ::strcasecmp(left.c_str(), right.c_str()) < 0;
    }
};

/// Headers by name, whose case does not count.
using Headers = std::multimap<std::string, std::string, HeaderNameOrder>;

/// The first of a name; empty when there is none.
inline std::string HeaderOf(const Headers& headers, const std::string& name)
{
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
}

/// A request as it came to a server.
struct ServedRequest {
    std::string method;
    std::string target; ///< path and query as they were sent
    Headers headers;
    std::string body;
    int peerPort = 0;

    std::string Path() const { return target.substr(0, target.find('?')); }
    std::string Header(const std::string& name) const { return HeaderOf(headers, name); }
};

/// An answer, to be sent or as it came.
struct HttpReply {
    int status = 0; ///< 0: none came
    Headers headers;
    std::string body;     ///< as far as it came
    bool isWhole = false; ///< nothing is missing of what was announced
    std::string problem;  ///< why it is not whole

    bool Has(const std::string& name) const { return headers.count(name) != 0; }
    std::string Header(const std::string& name) const { return HeaderOf(headers, name); }
};

#endif

#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_SCHEME_MEMORY_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_SCHEME_MEMORY_H

#include <string>

/// Which scheme each server last answered to in this process: whoever is told a server's address without a scheme, but
/// knows that there is a session with it, learns here how to reach it. Any thread may call.
namespace Framework::SchemeMemory {

/// `server` is "host:port", with an IPv6 address in brackets.
void Remember(const std::string& server, const std::string& scheme);

/// Empty for a server that did not answer yet.
std::string Find(const std::string& server);

} // namespace Framework::SchemeMemory

#endif

#include "framework/http/known_servers.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Framework {

namespace {

constexpr std::string_view SCHEME_END = "://";
constexpr std::string_view AUTHORITY_ENDS = "/?#";

// Scheme, host and port as a sound url spells them. Empty where other slashes stand between them than two: libcurl
// takes one or three as well.
std::string OriginOf(const std::string& url)
{
    const std::size_t scheme = url.find(SCHEME_END);
    if (scheme == std::string::npos) {
        return {};
    }
    const std::size_t authority = scheme + SCHEME_END.size();
    const std::size_t end = std::min(url.find_first_of(AUTHORITY_ENDS, authority), url.size());
    return end == authority ? std::string() : url.substr(0, end);
}

bool HasOrigin(const std::string& url, const std::string& origin)
{
    return url.size() > origin.size() && url[origin.size()] == '/' && url.compare(0, origin.size(), origin) == 0;
}

} // namespace

std::shared_ptr<ServerConnections> KnownServers::Find(const std::string& url, const ConfigValues& config,
                                                      std::string& problem)
{
    if (!HasBlankOrControl(url)) {
        if (auto known = FindKnown(url, config.generation); known != nullptr) {
            return known;
        }
    }
    UrlParts server;
    if (!ParseUrl(url, server, problem)) {
        return nullptr;
    }
    auto connections = ServerConnections::Share(server, LookAtTrust(config));
    if (std::string origin = OriginOf(url); !origin.empty()) {
        Remember({std::move(origin), config.generation, connections});
    }
    return connections;
}

std::shared_ptr<ServerConnections> KnownServers::FindKnown(const std::string& url, std::uint64_t generation)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto found = std::find_if(m_servers.begin(), m_servers.end(), [&](const Known& known) {
        return known.generation == generation && HasOrigin(url, known.origin);
    });
    return found == m_servers.end() ? nullptr : found->connections;
}

void KnownServers::Remember(Known known)
{
    std::vector<Known> gone; // their connections are closed without the lock
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto same = std::find_if(m_servers.begin(), m_servers.end(),
                                   [&](const Known& other) { return other.origin == known.origin; });
    if (same != m_servers.end()) {
        std::swap(*same, known);
        gone.push_back(std::move(known));
        return;
    }
    if (m_servers.size() == MAX_SERVERS) {
        gone.push_back(std::move(m_servers.front()));
        m_servers.erase(m_servers.begin());
    }
    m_servers.push_back(std::move(known));
}

} // namespace Framework

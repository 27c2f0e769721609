#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_KNOWN_SERVERS_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_KNOWN_SERVERS_H

#include "framework/http/server_connections.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Framework {

/// The servers that one client has sent to, whose connections it holds. Any thread may call.
class KnownServers {
public:
    /// The connections to the server of `url`, under the trust that `config` has. Null, with what is wrong with the url
    /// in `problem`, as ParseUrl says it.
    std::shared_ptr<ServerConnections> Find(const std::string& url, const ConfigValues& config, std::string& problem);

private:
    static constexpr std::size_t MAX_SERVERS = 16; // a client that sends to more lets the first go

    struct Known {
        std::string origin;           ///< what stands before the path of a url that was parsed
        std::uint64_t generation = 0; ///< of the configuration that the trust is from
        std::shared_ptr<ServerConnections> connections;
    };

    std::shared_ptr<ServerConnections> FindKnown(const std::string& url, std::uint64_t generation);
    void Remember(Known known);

    std::mutex m_mutex;
    std::vector<Known> m_servers; // guarded by m_mutex
};

} // namespace Framework

#endif

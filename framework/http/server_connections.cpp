#include "framework/http/server_connections.h"

#include "framework/support/immortal.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <algorithm>
#include <map>
#include <utility>

namespace Framework {

namespace {

// libcurl itself uses none that waited for longer than two minutes.
constexpr std::chrono::minutes LONGEST_WAIT{2};

/// The servers that clients hold connections to.
class ServerTable {
public:
    std::shared_ptr<ServerConnections> Share(const UrlParts& server, const TlsTrust& trust)
    {
        const std::string key = server.scheme + "://" + boost::to_lower_copy(server.Server());
        const std::lock_guard<std::mutex> guard(m_mutex);
        std::shared_ptr<ServerConnections> shared = m_servers[key].lock();
        if (shared == nullptr || !(shared->Trust() == trust)) {
            shared = std::make_shared<ServerConnections>(server, trust);
            m_servers[key] = shared;
            SweepSometimes();
        }
        return shared;
    }

private:
    // Takes out what nobody holds any more, whenever the table has become twice as large.
    void SweepSometimes() // requires m_mutex
    {
        constexpr std::size_t LEAST = 64;
        if (m_servers.size() < m_sweepAt) {
            return;
        }
        for (auto entry = m_servers.begin(); entry != m_servers.end();) {
            entry = entry->second.expired() ? m_servers.erase(entry) : std::next(entry);
        }
        m_sweepAt = std::max(LEAST, 2 * m_servers.size());
    }

    std::mutex m_mutex;
    std::map<std::string, std::weak_ptr<ServerConnections>> m_servers; // guarded by m_mutex; by scheme, host and port
    std::size_t m_sweepAt = 0;                                         // guarded by m_mutex
};

Connection NewConnection()
{
    Connection connection;
    connection.keeper = MakeCurlMultiHandle();
    if (connection.keeper != nullptr) {
        curl_multi_setopt(connection.keeper.get(), CURLMOPT_MAXCONNECTS, 1L);
    }
    return connection;
}

} // namespace

std::shared_ptr<ServerConnections> ServerConnections::Share(const UrlParts& server, const TlsTrust& trust)
{
    return Immortal<ServerTable>().Share(server, trust);
}

Connection ServerConnections::Take()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_waiting.reserve(m_waiting.size() + m_takenCount + 1); // so that giving back needs no memory
        ++m_takenCount;
        if (!m_waiting.empty()) {
            const auto isOwn = [self = std::this_thread::get_id()](const Waiting& waiting) {
                return waiting.lastUser == self;
            };
            const auto own = std::find_if(m_waiting.rbegin(), m_waiting.rend(), isOwn);
            const auto found = own == m_waiting.rend() ? std::prev(m_waiting.end()) : std::prev(own.base());
            Connection connection = std::move(found->connection);
            m_waiting.erase(found);
            return connection;
        }
    }
    return NewConnection();
}

void ServerConnections::GiveBack(Connection connection) noexcept
{
    Connection unneeded; // closed without the lock
    const Clock::time_point now = Clock::now();
    const std::lock_guard<std::mutex> guard(m_mutex);
    --m_takenCount;
    if (!m_waiting.empty() && now - m_waiting.front().since > LONGEST_WAIT) {
        unneeded = std::move(m_waiting.front().connection);
        m_waiting.erase(m_waiting.begin());
    }
    if (connection.keeper != nullptr) {
        m_waiting.push_back({std::move(connection), std::this_thread::get_id(), now});
    }
}

} // namespace Framework

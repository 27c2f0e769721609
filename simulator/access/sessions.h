#ifndef ZAVSIM_ACCESS_SESSIONS_H
#define ZAVSIM_ACCESS_SESSIONS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace ZavSim {

using SteadyTime = std::chrono::steady_clock::time_point;
using Clock = std::function<SteadyTime()>;

/// Its secrets are wiped with it, in every copy.
struct Session {
    Session(std::uint64_t theNumber, std::string theUser, SteadyTime now);
    Session(const Session&) = default;
    Session& operator=(const Session&) = delete;
    ~Session();

    std::uint64_t number = 0; ///< counts from 1; names the session where its secrets must not appear
    std::string user;
    std::string token;
    std::string cookie; ///< for systems whose sessions have one
    SteadyTime lastUse;
};

/// Bounds of a system's logins.
struct SessionLimits {
    std::size_t sessions = 32;
    std::chrono::seconds idle{1200};
};

/// The logins that stand on one simulated system. A session ends by Close, or when it was not used for longer than the
/// idle limit.
///
/// Any thread may call. The clock is asked once in each operation. What is returned are copies.
class SessionTable {
public:
    SessionTable(const SessionLimits& limits, Clock clock);

    std::size_t Limit() const noexcept { return m_limits.sessions; }

    /// A new session; nothing when as many as are allowed stand already.
    std::optional<Session> Open(const std::string& user);

    /// The session that the token belongs to, counted as used now; nothing when there is none.
    std::optional<Session> Use(const std::string& token);

    /// The same for sessions with a cookie: one of the cookies must belong to the same session.
    std::optional<Session> Use(const std::string& token, const std::vector<std::string>& cookies);

    void Close(std::uint64_t number);
    void CloseAll();

    struct Standing {
        std::uint64_t number;
        std::string user;
        std::chrono::seconds idle;
    };
    std::vector<Standing> List();

private:
    SteadyTime ExpireIdle(); // requires m_lock
    std::optional<Session> UseFitting(const std::function<bool(const Session&)>& fits);

    const SessionLimits m_limits;
    const Clock m_clock;
    std::mutex m_lock;
    std::uint64_t m_lastNumber = 0;              // guarded by m_lock
    std::map<std::uint64_t, Session> m_sessions; // guarded by m_lock
};

} // namespace ZavSim

#endif

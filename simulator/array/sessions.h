#ifndef ZAVSIM_ARRAY_SESSIONS_H
#define ZAVSIM_ARRAY_SESSIONS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
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
    std::string cookie; ///< the value of the cookie named COOKIE_NAME
    SteadyTime lastUse;
};

/// The logins that stand. A session ends by Close, or when it was not used for longer than the idle limit.
///
/// One thread at a time. The clock is asked once in each operation.
class SessionTable {
public:
    static constexpr const char* COOKIE_NAME = "session";

    SessionTable(std::size_t limit, std::chrono::seconds idleLimit, Clock clock);

    /// A new session; throws Refusal with SessionLimitReached when as many as are allowed stand already.
    const Session& Open(const std::string& user);

    /// The session that both token and one of the cookies belong to, counted as used now. Throws Refusal with
    /// SessionLapsed when there is none, without telling which of the two was wrong.
    const Session& Use(const std::string& token, const std::vector<std::string>& cookies);

    void Close(std::uint64_t number);
    void CloseAll();

    struct Standing {
        std::uint64_t number;
        std::string user;
        std::chrono::seconds idle;
    };
    std::vector<Standing> List();

private:
    SteadyTime ExpireIdle();

    const std::size_t m_limit;
    const std::chrono::seconds m_idleLimit;
    const Clock m_clock;
    std::uint64_t m_lastNumber = 0;
    std::map<std::uint64_t, Session> m_sessions;
};

} // namespace ZavSim

#endif

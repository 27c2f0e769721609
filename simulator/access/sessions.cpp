#include "simulator/access/sessions.h"

#include "base/secret.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr std::size_t SECRET_BYTES = 24;

std::string DrawSecret()
{
    unsigned char bytes[SECRET_BYTES];
    if (RAND_bytes(bytes, sizeof bytes) != 1) {
        throw std::runtime_error("no random bytes for a session");
    }
    static const char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * SECRET_BYTES); // no shorter piece of it stays behind
    for (const unsigned char byte : bytes) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 15];
    }
    Secret::WipeBytes(bytes, sizeof bytes);
    return text;
}

bool SameSecret(const std::string& left, const std::string& right)
{
    return left.size() == right.size() && CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace

Session::Session(std::uint64_t theNumber, std::string theUser, SteadyTime now)
    : number(theNumber)
    , user(std::move(theUser))
    , token(DrawSecret())
    , cookie(DrawSecret())
    , lastUse(now)
{
}

Session::~Session()
{
    Secret::Wipe(token);
    Secret::Wipe(cookie);
}

SessionTable::SessionTable(const SessionLimits& limits, Clock clock)
    : m_limits(limits)
    , m_clock(std::move(clock))
{
}

std::optional<Session> SessionTable::Open(const std::string& user)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const SteadyTime now = ExpireIdle();
    if (m_sessions.size() >= m_limits.sessions) {
        return std::nullopt;
    }
    const std::uint64_t number = ++m_lastNumber;
    return m_sessions.try_emplace(number, number, user, now).first->second;
}

std::optional<Session> SessionTable::Use(const std::string& token)
{
    return UseFitting([&token](const Session& session) { return SameSecret(session.token, token); });
}

std::optional<Session> SessionTable::Use(const std::string& token, const std::vector<std::string>& cookies)
{
    return UseFitting([&](const Session& session) {
        return SameSecret(session.token, token) &&
               std::any_of(cookies.begin(), cookies.end(),
                           [&session](const std::string& cookie) { return SameSecret(session.cookie, cookie); });
    });
}

std::optional<Session> SessionTable::UseFitting(const std::function<bool(const Session&)>& fits)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const SteadyTime now = ExpireIdle();
    for (auto& [number, session] : m_sessions) {
        if (fits(session)) {
            session.lastUse = now;
            return session;
        }
    }
    return std::nullopt;
}

void SessionTable::Close(std::uint64_t number)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_sessions.erase(number);
}

void SessionTable::CloseAll()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_sessions.clear();
}

std::vector<SessionTable::Standing> SessionTable::List()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const SteadyTime now = ExpireIdle();
    std::vector<Standing> standing;
    for (const auto& [number, session] : m_sessions) {
        standing.push_back(
            {number, session.user, std::chrono::duration_cast<std::chrono::seconds>(now - session.lastUse)});
    }
    return standing;
}

SteadyTime SessionTable::ExpireIdle()
{
    const SteadyTime now = m_clock();
    for (auto session = m_sessions.begin(); session != m_sessions.end();) {
        session = now - session->second.lastUse > m_limits.idle ? m_sessions.erase(session) : std::next(session);
    }
    return now;
}

} // namespace ZavSim

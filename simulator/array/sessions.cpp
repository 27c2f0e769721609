#include "simulator/array/sessions.h"

#include "simulator/array/codes.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>

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
    for (const unsigned char byte : bytes) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 15];
    }
    OPENSSL_cleanse(bytes, sizeof bytes);
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
    OPENSSL_cleanse(token.data(), token.size());
    OPENSSL_cleanse(cookie.data(), cookie.size());
}

SessionTable::SessionTable(std::size_t limit, std::chrono::seconds idleLimit, Clock clock)
    : m_limit(limit)
    , m_idleLimit(idleLimit)
    , m_clock(std::move(clock))
{
}

const Session& SessionTable::Open(const std::string& user)
{
    const SteadyTime now = ExpireIdle();
    if (m_sessions.size() >= m_limit) {
        throw Refusal(Code::SessionLimitReached, std::to_string(m_limit) + " stand");
    }
    const std::uint64_t number = ++m_lastNumber;
    return m_sessions.try_emplace(number, number, user, now).first->second;
}

const Session& SessionTable::Use(const std::string& token, const std::vector<std::string>& cookies)
{
    const SteadyTime now = ExpireIdle();
    for (auto& [number, session] : m_sessions) {
        const Session& each = session;
        if (SameSecret(each.token, token) &&
            std::any_of(cookies.begin(), cookies.end(),
                        [&each](const std::string& cookie) { return SameSecret(each.cookie, cookie); })) {
            session.lastUse = now;
            return session;
        }
    }
    throw Refusal(Code::SessionLapsed, "token and cookie must both be those of one login");
}

void SessionTable::Close(std::uint64_t number)
{
    m_sessions.erase(number);
}

void SessionTable::CloseAll()
{
    m_sessions.clear();
}

std::vector<SessionTable::Standing> SessionTable::List()
{
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
        session = now - session->second.lastUse > m_idleLimit ? m_sessions.erase(session) : std::next(session);
    }
    return now;
}

} // namespace ZavSim

#include "framework/san/patience.h"

#include <boost/chrono/duration.hpp>
#include <boost/thread/thread_only.hpp>

#include <algorithm>
#include <array>
#include <random>

namespace Framework {

namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr std::chrono::seconds IN_ALL{60};
constexpr std::array<Milliseconds, 3> PAUSES = {Milliseconds(200), Milliseconds(2000), Milliseconds(12000)};

// Many nodes that met the same busy array shall not come back at the same moment.
Milliseconds Jittered(Milliseconds pause)
{
    thread_local std::minstd_rand random(std::random_device{}());
    std::uniform_int_distribution<Milliseconds::rep> spread(pause.count() / 2, pause.count() * 3 / 2);
    return Milliseconds(spread(random));
}

} // namespace

bool Patience::Wait()
{
    const auto now = std::chrono::steady_clock::now();
    m_end = std::min(m_end, now + IN_ALL);
    if (m_tries > PAUSES.size()) {
        return false;
    }
    const Milliseconds pause = Jittered(PAUSES[m_tries - 1]);
    if (now + pause >= m_end) {
        return false;
    }
    ++m_tries;
    boost::this_thread::sleep_for(boost::chrono::milliseconds(pause.count()));
    return true;
}

unsigned int Patience::SecondsLeft() const
{
    if (m_tries == 1) {
        return static_cast<unsigned int>(IN_ALL.count());
    }
    const auto left = std::chrono::ceil<std::chrono::seconds>(m_end - std::chrono::steady_clock::now());
    return static_cast<unsigned int>(std::max<std::chrono::seconds::rep>(left.count(), 1));
}

} // namespace Framework

#include "framework/san/patience.h"

#include "common/framework/random_bytes.h"

#include <boost/chrono/duration.hpp>
#include <boost/thread/thread_only.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace Framework {

namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr std::chrono::seconds IN_ALL{60};
constexpr std::array<Milliseconds, 3> PAUSES = {Milliseconds(200), Milliseconds(2000), Milliseconds(12000)};

// Many nodes that met the same busy array shall not come back at the same moment.
Milliseconds Jittered(Milliseconds pause)
{
    std::uint32_t random = 0; // where none is to be had, all wait as long
    unsigned char bytes[sizeof random] = {};
    if (getRandBytes(bytes, sizeof bytes) > 0) {
        std::memcpy(&random, bytes, sizeof random);
    }
    return Milliseconds(pause.count() / 2 + random % (pause.count() + 1));
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
    // The handlers promise to fail by standard exceptions alone; an interruption waits for one who can take it.
    const boost::this_thread::disable_interruption whole;
    boost::this_thread::sleep_for(boost::chrono::milliseconds(pause.count()));
    return true;
}

} // namespace Framework

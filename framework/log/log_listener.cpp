#include "framework/public/log_listener.h"

#include "framework/log/listeners.h"

#include <chrono>
#include <deque>
#include <iterator>
#include <mutex>

namespace OpenFramework {

struct LogListener::Ear {
    int level = 0;
    std::size_t most = 0;
    std::mutex mutex;
    std::deque<LogLine> lines; // guarded by mutex
};

} // namespace OpenFramework

namespace {

// The calling thread's; what is another's is never touched.
thread_local OpenFramework::LogListener::Ear* ownEar = nullptr;

std::int64_t MicrosecondsNow()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

namespace Framework::Listeners {

bool OwnWants(int level) noexcept
{
    return ownEar != nullptr && level >= ownEar->level;
}

void Tell(const LogRecord& record)
{
    if (!Want(record.level)) {
        return;
    }
    OpenFramework::LogLine line = {MicrosecondsNow(), record.level, std::string(record.functionName), record.code,
                                   std::string(record.text)};
    const std::lock_guard<std::mutex> guard(ownEar->mutex);
    ownEar->lines.push_back(std::move(line));
    if (ownEar->lines.size() > ownEar->most) {
        ownEar->lines.pop_front();
    }
}

} // namespace Framework::Listeners

namespace OpenFramework {

LogListener::LogListener(int level, std::size_t most)
    : m_ear(std::make_unique<Ear>())
{
    m_ear->level = level;
    m_ear->most = most;
    ownEar = m_ear.get();
    Framework::Listeners::count.fetch_add(1, std::memory_order_relaxed);
}

LogListener::~LogListener()
{
    Framework::Listeners::count.fetch_sub(1, std::memory_order_relaxed);
    ownEar = nullptr;
}

std::vector<LogLine> LogListener::Take()
{
    const std::lock_guard<std::mutex> guard(m_ear->mutex);
    std::vector<LogLine> lines(std::make_move_iterator(m_ear->lines.begin()),
                               std::make_move_iterator(m_ear->lines.end()));
    m_ear->lines.clear();
    return lines;
}

} // namespace OpenFramework

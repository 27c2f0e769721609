#include "bench/scripted_client.h"
#include "bench/stage.h"
#include "bench/topic.h"
#include "disklib/zav_storage_disk_lib.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Sessions from the keeper's cache, and its check of them.

namespace {

using Session = std::pair<boost::shared_ptr<ZavRestApi>, boost::chrono::steady_clock::time_point>;

constexpr int MOST_SESSIONS = 10000;

/// A keeper with logins into so many arrays, none of which is there. The callers' hold on the sessions keeps them from
/// expiring.
class Sessions : public ZavStorageDiskLib {
public:
    /// The one with as many as the state's point says, one at the least. Keepers that have a check thread run it once a
    /// second.
    static Sessions& For(const benchmark::State& state)
    {
        static std::map<std::int64_t, std::unique_ptr<Sessions>> all;
        auto& sessions = all[std::max<std::int64_t>(state.range(0), 1)];
        if (sessions == nullptr) {
            sessions = std::make_unique<Sessions>();
            sessions->LogIn(std::max<std::int64_t>(state.range(0), 1));
        }
        return *sessions;
    }

    const std::vector<std::string>& Urls() const { return m_urls; }

private:
    void LogIn(std::int64_t count)
    {
        const Script script("");
        for (std::int64_t number = 0; number < count; ++number) {
            Zav::DeviceInfo device;
            device.url = "https://array-" + std::to_string(number) + ":8088";
            std::string error;
            if (GetLoginedZavRestApi(device, m_held.emplace_back(), error) != 0) {
                throw std::runtime_error("no login into " + device.url + ": " + error);
            }
            m_urls.push_back(device.url);
        }
        StopCheckThread();
    }

    std::vector<std::string> m_urls;
    std::vector<boost::shared_ptr<ZavRestApi>> m_held;
};

/// What the keeper is made of.
struct BareKeeper {
    explicit BareKeeper(const std::vector<std::string>& urls)
    {
        const Script script("");
        for (const std::string& url : urls) {
            sessions[url] = Session(boost::make_shared<ZavRestApi>(""), boost::chrono::steady_clock::now());
        }
    }

    boost::shared_ptr<ZavRestApi> Find(const std::string& url)
    {
        const boost::lock_guard<boost::recursive_mutex> guard(lock);
        auto& [api, lastUsed] = sessions.find(url)->second;
        lastUsed = boost::chrono::steady_clock::now();
        return api;
    }

    boost::recursive_mutex lock;
    std::map<std::string, Session> sessions;
};

void TakeCachedSession(benchmark::State& state)
{
    Sessions& keeper = Sessions::For(state);
    Zav::DeviceInfo device;
    device.url = keeper.Urls()[keeper.Urls().size() / 2];
    for (auto _ : state) {
        boost::shared_ptr<ZavRestApi> api;
        std::string error;
        if (keeper.GetLoginedZavRestApi(device, api, error) != 0) {
            state.SkipWithError("no session");
        }
    }
}

void FindSession(benchmark::State& state)
{
    const auto& urls = Sessions::For(state).Urls();
    BareKeeper keeper(urls);
    for (auto _ : state) {
        benchmark::DoNotOptimize(keeper.Find(urls[urls.size() / 2]));
    }
}

void FindSessionAndLog(benchmark::State& state)
{
    const auto& urls = Sessions::For(state).Urls();
    BareKeeper keeper(urls);
    spdlog::logger logger("keeper", std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
                                        Stage::Get().Folder() + "/bare-keeper.log", std::size_t(16) << 20U, 5U));
    logger.flush_on(spdlog::level::info);
    for (auto _ : state) {
        logger.info("Enter {}", "GetLoginedZavRestApi");
        benchmark::DoNotOptimize(keeper.Find(urls[urls.size() / 2]));
        logger.info("End {}", "GetLoginedZavRestApi");
    }
}

void CheckSessions(benchmark::State& state)
{
    Sessions& keeper = Sessions::For(state);
    for (auto _ : state) {
        keeper.DoCheck();
    }
}

void WalkSessions(benchmark::State& state)
{
    BareKeeper keeper(Sessions::For(state).Urls());
    for (auto _ : state) {
        const boost::lock_guard<boost::recursive_mutex> guard(keeper.lock);
        int expired = 0;
        for (const auto& [url, session] : keeper.sessions) {
            expired += boost::chrono::steady_clock::now() - session.second > boost::chrono::hours(1) ? 1 : 0;
        }
        benchmark::DoNotOptimize(expired);
    }
}

} // namespace

Topics KeeperTopics()
{
    constexpr int QUIET = 2;
    Topic cached = {"cached-session/level-2",
                    "cached `GetLoginedZavRestApi`, log level 2",
                    "lock, map find, clock, shared_ptr",
                    TakeCachedSession,
                    FindSession,
                    {{Quantity::WALL, 1.3, 1}}};
    cached.growth = {Growth::Of::Size, "sessions", {1, 10, 100, 1000, MOST_SESSIONS}};
    cached.logLevel = QUIET;
    Topic logged = {"cached-session/level-1",
                    "cached `GetLoginedZavRestApi`, log level 1",
                    "lock, map find, clock, shared_ptr, two spdlog lines",
                    TakeCachedSession,
                    FindSessionAndLog,
                    {{Quantity::WALL, 1.2}}};
    logged.logLevel = 1;
    Topic check = {"session-check",
                   "`DoCheck` over sessions",
                   "a walk with a clock read each",
                   CheckSessions,
                   WalkSessions,
                   {{Quantity::WALL, 1.2, MOST_SESSIONS}}};
    check.growth = {Growth::Of::Size, "sessions", {1, 10, 100, 1000, MOST_SESSIONS}};
    check.logLevel = QUIET;
    return {cached, logged, check};
}

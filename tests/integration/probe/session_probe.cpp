// session_probe hold USER PASSWORD_FILE URL...
// session_probe behind USER PASSWORD_FILE LOST HELD OTHER
//
// hold: takes a session of the array at each url from the keeper, asks each array a small question, and prints what
// that took, one "name value" a line: seconds, KiB and descriptors for all arrays, threads in all.
//
// behind: while another thread logs into the array at LOST, prints how many seconds a question to HELD takes, whose
// session is there already, and how many it takes until there is a session of OTHER; and how many the login into LOST
// took.
#include "disklib/zav_storage_disk_lib.h"
#include "framework/public/log_listener.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Sessions = std::vector<boost::shared_ptr<ZavRestApi>>;

double SecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// What the process holds, as the kernel counts it.
struct Holding {
    long kilobytes = 0;
    long descriptors = 0;
    long threads = 0;

    static Holding Now()
    {
        const auto count = [](const char* folder) {
            return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
        };
        Holding holding;
        std::ifstream status("/proc/self/status");
        std::string word;
        while (status >> word && word != "VmRSS:") {
        }
        status >> holding.kilobytes;
        holding.descriptors = count("/proc/self/fd");
        holding.threads = count("/proc/self/task");
        return holding;
    }
};

class Node {
public:
    Node(std::string user, const std::string& passwordFile)
        : m_user(std::move(user))
    {
        std::ifstream file(passwordFile);
        std::getline(file, m_password);
    }

    /// Null when there is none.
    boost::shared_ptr<ZavRestApi> SessionOf(const std::string& url) const
    {
        Zav::DeviceInfo device;
        device.url = url;
        device.user = m_user;
        device.password = m_password;
        boost::shared_ptr<ZavRestApi> api;
        std::string error;
        if (ZavStorageDiskLib::GetInstance()->GetLoginedZavRestApi(device, api, error) != 0) {
            std::cerr << url << ": " << error << '\n';
        }
        return api;
    }

    boost::shared_ptr<ZavRestApi> NeededSessionOf(const std::string& url) const
    {
        const auto api = SessionOf(url);
        if (api == nullptr) {
            throw std::runtime_error("no session of " + url);
        }
        return api;
    }

private:
    std::string m_user;
    std::string m_password;
};

void Ask(ZavRestApi& api)
{
    std::uint64_t luns = 0;
    std::string error;
    if (api.GetLunCount(luns, error) != 0) {
        throw std::runtime_error(error);
    }
}

void Hold(const Node& node, const std::vector<std::string>& urls)
{
    Sessions sessions = {node.NeededSessionOf(urls.front())}; // what only the first one costs is not counted
    const Holding before = Holding::Now();
    Clock::time_point begin = Clock::now();
    for (std::size_t i = 1; i < urls.size(); ++i) {
        sessions.push_back(node.NeededSessionOf(urls[i]));
    }
    std::cout << "login-seconds " << SecondsSince(begin) << '\n';
    const Holding after = Holding::Now();
    std::cout << "kilobytes " << after.kilobytes - before.kilobytes << '\n'
              << "descriptors " << after.descriptors - before.descriptors << '\n'
              << "threads " << after.threads << '\n';
    begin = Clock::now();
    for (const auto& session : sessions) {
        Ask(*session);
    }
    std::cout << "ask-seconds " << SecondsSince(begin) << '\n';
    begin = Clock::now();
    for (const auto& session : sessions) {
        std::string error;
        session->Logout(error);
    }
    std::cout << "logout-seconds " << SecondsSince(begin) << '\n';
}

/// Returns when the thread that is listened to has begun a login, and so holds the keeper's lock.
void AwaitLogin(OpenFramework::LogListener& listener)
{
    for (;;) {
        const auto lines = listener.Take();
        if (std::any_of(lines.begin(), lines.end(), [](const auto& line) { return line.operation == "Login"; })) {
            return;
        }
        std::this_thread::yield();
    }
}

void WaitBehind(const Node& node, const std::string& lost, const std::string& held, const std::string& other)
{
    const auto session = node.NeededSessionOf(held);
    std::promise<OpenFramework::LogListener*> listening;
    std::promise<void> heard;
    std::thread first([&node, &lost, &listening, &heard] {
        OpenFramework::LogListener listener(1);
        listening.set_value(&listener);
        const Clock::time_point begin = Clock::now();
        node.SessionOf(lost);
        const double seconds = SecondsSince(begin);
        heard.get_future().wait();
        std::cout << "lost-seconds " << seconds << '\n';
    });
    AwaitLogin(*listening.get_future().get());
    heard.set_value();
    const Clock::time_point begin = Clock::now();
    Ask(*session);
    std::cout << "held-seconds " << SecondsSince(begin) << '\n';
    node.NeededSessionOf(other);
    std::cout << "other-seconds " << SecondsSince(begin) << '\n';
    first.join();
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const std::vector<std::string> words(argv + 1, argv + argc);
        const Node node(words.at(1), words.at(2));
        if (words.at(0) == "hold") {
            Hold(node, {words.begin() + 3, words.end()});
        } else {
            WaitBehind(node, words.at(3), words.at(4), words.at(5));
        }
        ZavStorageDiskLib::GetInstance()->StopCheckThread();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "session_probe: " << error.what() << '\n';
        return 1;
    }
}

#include "tests/simulation/world.h"

#include "base/files.h"
#include "tests/simulation/sealed.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string_view>
#include <utility>

namespace fs = std::filesystem;

namespace Simulation {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds REQUEST_TIME(3);
constexpr milliseconds SHELL_TIME(20);
constexpr int OUR_FAULT = 70;
constexpr unsigned int ROUNDS_OF_A_WATCH = 3;
constexpr std::int64_t A_DAY_IN_2026 = 1780000000LL * 1000000000;

/// What goes wrong with a request.
struct RequestFault {
    const char* words;
    bool isCarriedOut;
    int code;   ///< the array's, when it refuses
    int status; ///< of HTTP, when it is one
    enum class Reply { Refusal, Status, Nothing, Garbage, Half } reply;
};

using Reply = RequestFault::Reply;

constexpr std::array<RequestFault, 12> REQUEST_FAULTS = {{
    {"busy", false, 1077949006, 0, Reply::Refusal},
    {"not ready", false, 1077949067, 0, Reply::Refusal},
    {"timed out within", true, -408, 0, Reply::Refusal},
    {"refused", false, 1077948993, 0, Reply::Refusal},
    {"session lapsed", false, -401, 0, Reply::Refusal},
    {"503", false, 0, 503, Reply::Status},
    {"429", false, 0, 429, Reply::Status},
    {"500", false, 0, 500, Reply::Status},
    {"lost before", false, 0, 0, Reply::Nothing},
    {"lost after", true, 0, 0, Reply::Nothing},
    {"garbage", true, 0, 0, Reply::Garbage},
    {"half", true, 0, 0, Reply::Half},
}};

bool IsRequest(const Message& question, std::string_view method, std::string_view end)
{
    const std::string& url = question[2];
    return question[0] == "request" && question[1] == method && url.size() >= end.size() &&
           url.compare(url.size() - end.size(), end.size(), end) == 0;
}

std::string EnvironmentText()
{
    return R"({"managementIps": [")" + std::string(SimulatedArray::ADDRESS) +
           R"("], "userNames": ["admin"], "encryptedPasswords": [")" + Turned(PASSWORD) +
           R"("], "certificates": ["array"], "ports": [8088], "protocols": [1], "allManagementIps": [")" +
           SimulatedArray::ADDRESS + R"("]})";
}

} // namespace

World::World(const Schedule& schedule, const Wishes& wishes, const std::string& folder, SharedPage& page)
    : m_schedule(schedule)
    , m_wishes(wishes)
    , m_folder(folder)
    , m_page(page)
    , m_random(schedule.seed)
    , m_array(page)
{
    fs::remove_all(m_folder);
    fs::create_directories(m_folder + "/conf");
    std::ofstream(m_folder + "/env.json") << EnvironmentText();
    m_disk = std::make_unique<Disk>(m_folder + "/conf");
    m_page = SharedPage();
    m_page.wallNanoseconds = A_DAY_IN_2026;
    m_page.steadyNanoseconds = 3600LL * 1000000000;
    m_tracksFlushes = std::any_of(schedule.events.begin(), schedule.events.end(),
                                  [](const Event& event) { return event.what == Happening::PowerCut; });
}

World::~World()
{
    for (const auto& node : m_nodes) {
        Kill(*node);
    }
}

std::string World::Record() const
{
    return Base::ReadFileIfThere(m_folder + "/conf/" + SimulatedArray::SERIAL + "-info.conf").value_or("");
}

std::string World::Journal() const
{
    return Base::ReadFileIfThere(m_folder + "/conf/san-journal").value_or("");
}

std::string World::Printed() const
{
    return Base::ReadFileIfThere(m_folder + "/printed").value_or("");
}

void World::Tell(const std::string& text) const
{
    if (m_wishes.isTalkative) {
        std::cerr << text << "\n";
    }
}

void World::Pass(std::chrono::nanoseconds duration)
{
    m_page.steadyNanoseconds += duration.count();
    m_page.wallNanoseconds += duration.count();
}

std::size_t World::Living() const
{
    return static_cast<std::size_t>(
        std::count_if(m_nodes.begin(), m_nodes.end(), [](const auto& node) { return !node->isOver; }));
}

const Event* World::NextEvent() const
{
    return m_nextEvent < m_schedule.events.size() ? &m_schedule.events[m_nextEvent] : nullptr;
}

void World::Calm()
{
    m_nextEvent = m_schedule.events.size();
    m_tracksFlushes = false;
}

// What the command keeps for later is there once, however often it runs: more was lost on the way. The first time it
// may have to make what the failure left undone.
void World::RunAgain(const Arguments& arguments) const
{
    const std::uint64_t allocations = m_page.allocations;
    m_page.failingAllocation = 0;
    RunZavctl(arguments);
    RunZavctl(arguments);
    m_page.allocations = allocations;
    m_page.heldBlocks = Process::HeldBlocks();
}

std::uint64_t World::FailAllocation(std::uint64_t n) noexcept
{
    m_page.failingAllocation = n;
    m_mayRunOutOfMemory = n != 0;
    m_allowedSessions += m_mayRunOutOfMemory ? 1 : 0; // the one whose login's answer there was no memory to read
    return std::exchange(m_page.allocations, 0);
}

// Which effects the processes need not tell.
void World::Arm()
{
    const Event* const event = NextEvent();
    m_page.nextEvent = event != nullptr ? event->effect : UINT64_MAX;
    const bool isOneDoomed =
        std::any_of(m_nodes.begin(), m_nodes.end(), [](const auto& node) { return node->isDoomed; });
    m_page.asksForAll = m_tracksFlushes || isOneDoomed || m_wishes.isTalkative || Living() > 1 || m_startsMore;
}

void World::Start(const Arguments& arguments)
{
    std::array<int, 2> sockets = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets.data()) != 0) {
        throw std::runtime_error("no socket pair");
    }
    ++m_started;
    Arm();
    m_page.asksForAll = m_page.asksForAll || Living() != 0;
    std::cout << std::flush;
    const pid_t pid = ::fork();
    if (pid == 0) {
        const int output = ::open((m_folder + "/printed").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ::dup2(output, STDOUT_FILENO);
        if (!m_wishes.isTalkative) {
            ::dup2(output, STDERR_FILENO);
        }
        ::close(sockets[0]);
        for (const auto& node : m_nodes) {
            ::close(node->socket);
        }
        Process::Enter({sockets[1], &m_page, m_schedule.seed * 1000 + m_started, m_folder, m_wishes.planted,
                        m_wishes.isTalkative});
        try {
            const int code = RunZavctl(arguments);
            if (m_page.runsAgain) {
                RunAgain(arguments);
            }
            std::cout << std::flush;
            ::_exit(code);
        } catch (const std::exception&) {
            ::_exit(OUR_FAULT);
        }
    }
    ::close(sockets[1]);
    auto node = std::make_unique<Node>();
    node->pid = pid;
    node->socket = sockets[0];
    node->arguments = arguments;
    m_nodes.push_back(std::move(node));
    Tell("== process " + std::to_string(m_nodes.size()) + ": zavctl " + arguments.front());
    Listen(*m_nodes.back());
}

// Waits for the process's next effect, or its end.
void World::Listen(Node& node)
{
    if (Receive(node.socket, node.question)) {
        node.wakeAt = 0;
        if (node.question[0] == "sleep" || node.question[0] == "wait") {
            node.wakeAt = m_page.steadyNanoseconds + std::stoll(node.question[1]);
        }
        return;
    }
    node.isOver = true;
    int status = 0;
    ::waitpid(node.pid, &status, 0);
    ::close(std::exchange(node.socket, -1));
    if (!WIFEXITED(status)) {
        throw Broken("zavctl " + node.arguments.front() + " died of signal " + std::to_string(WTERMSIG(status)));
    }
    node.code = WEXITSTATUS(status);
    Tell("== zavctl " + node.arguments.front() + " ended with " + std::to_string(*node.code));
    constexpr std::array<int, 9> MEANT = {0, 3, 5, 6, 7, 8, 9, 10, 13};
    const bool isMeant = std::find(MEANT.begin(), MEANT.end(), *node.code) != MEANT.end();
    if (!isMeant && !(m_mayRunOutOfMemory && *node.code == OUR_FAULT)) {
        throw Broken("zavctl " + node.arguments.front() + " ended with " + std::to_string(*node.code));
    }
    if (onEnd) {
        onEnd(node.arguments, *node.code);
    }
}

void World::Kill(Node& node)
{
    if (node.isOver) {
        return;
    }
    node.isOver = true;
    ::kill(node.pid, SIGKILL);
    ::waitpid(node.pid, nullptr, 0);
    ::close(std::exchange(node.socket, -1));
    ++m_allowedSessions; // nobody can end it any more
}

void World::CutPower(std::uint64_t detail)
{
    for (const auto& node : m_nodes) {
        Kill(*node);
    }
    m_isLoggedIntoPortal = false;
    m_disk->CutPower(static_cast<unsigned int>(detail));
}

std::vector<std::optional<int>> World::Run(const std::vector<Arguments>& processes)
{
    m_nodes.clear();
    fs::remove(m_folder + "/printed");
    for (std::size_t i = 0; i < processes.size(); ++i) {
        m_startsMore = i + 1 < processes.size();
        Start(processes[i]);
    }
    while (Living() != 0) {
        std::vector<Node*> ready;
        std::int64_t earliest = INT64_MAX;
        for (const auto& node : m_nodes) {
            if (!node->isOver && node->wakeAt <= m_page.steadyNanoseconds) {
                ready.push_back(node.get());
            } else if (!node->isOver) {
                earliest = std::min(earliest, node->wakeAt);
            }
        }
        if (ready.empty()) {
            Pass(std::chrono::nanoseconds(earliest - m_page.steadyNanoseconds));
            continue;
        }
        Serve(*ready[ready.size() == 1 ? 0 : m_random() % ready.size()]);
    }
    std::vector<std::optional<int>> codes;
    for (const auto& node : m_nodes) {
        codes.push_back(node->code);
    }
    return codes;
}

void World::Serve(Node& node)
{
    const std::uint64_t effect = ++m_page.effects;
    if (m_wishes.isTalkative) {
        std::string words;
        for (std::size_t i = 0; i < std::min<std::size_t>(node.question.size(), 4); ++i) {
            words += " " + node.question[i].substr(0, 160);
        }
        Tell(std::to_string(effect) + words);
    }
    if (node.isDoomed) {
        Kill(node);
        return;
    }
    std::optional<std::uint64_t> fault;
    while (const Event* event = NextEvent()) {
        if (event->effect > effect) {
            break;
        }
        ++m_nextEvent;
        if (event->what == Happening::Fault) {
            fault = event->detail;
        } else if (!Happens(*event, node)) {
            return;
        }
    }
    const Message answer = Answer(node, fault);
    Arm();
    Send(node.socket, answer);
    Listen(node);
}

bool World::Happens(const Event& event, Node& node)
{
    switch (event.what) {
    case Happening::Fault:
        break;
    case Happening::KillBefore:
        Tell("   killed");
        Kill(node);
        return false;
    case Happening::KillAfter:
        Tell("   killed behind this");
        node.isDoomed = true;
        break;
    case Happening::PowerCut:
        Tell("   power cut");
        CutPower(event.detail);
        return false;
    case Happening::ClockJump:
        Tell("   the clocks jump");
        m_page.wallNanoseconds += (event.detail % 2 == 0 ? 1 : -1) * 86400LL * 1000000000;
        Pass(std::chrono::minutes(10)); // a machine that slept
        break;
    case Happening::OperatorDeletes:
        Tell("   an operator deletes an object");
        m_array.DeleteOneOfOurs(event.detail);
        m_hadOperator = true;
        break;
    case Happening::OperatorUnties:
        Tell("   an operator takes an association away");
        m_array.UntieOneOfOurs(event.detail);
        m_hadOperator = true;
        break;
    case Happening::OperatorMaps:
        Tell("   an operator maps a LUN");
        m_array.MapALun();
        m_hadOperator = true;
        break;
    case Happening::StartInit:
        Start({"init", "--env", m_folder + "/env.json"});
        break;
    case Happening::StartTidy:
        Start({"tidy", "--env", m_folder + "/env.json", "--yes"});
        break;
    }
    return true;
}

Message World::Answer(Node& node, std::optional<std::uint64_t> fault)
{
    const std::string& what = node.question[0];
    if (what == "request") {
        return AnswerRequest(node, fault);
    }
    if (what == "shell") {
        return AnswerShell(node, fault);
    }
    if (what == "file") {
        return AnswerFile(node, fault);
    }
    if (what == "connect") {
        return {fault ? "refused" : "ok"};
    }
    if (what == "wait") {
        return {++node.waits >= ROUNDS_OF_A_WATCH ? "stop" : "go"};
    }
    return {"ok"};
}

Message World::AnswerRequest(Node& node, std::optional<std::uint64_t> drawn)
{
    const Message& question = node.question;
    const auto told = [](const ZavSim::HttpAnswer& answer) {
        Message message = {"answer", std::to_string(answer.status), answer.body};
        for (const auto& [name, value] : answer.headers) {
            if (name == "Set-Cookie") {
                message.push_back(value);
            }
        }
        return message;
    };
    Pass(REQUEST_TIME);
    if (!drawn) {
        return told(m_array.Handle(question));
    }
    const RequestFault& fault = REQUEST_FAULTS.at(*drawn % REQUEST_FAULTS.size());
    Tell(std::string("   ") + fault.words);
    const bool isLogin = IsRequest(question, "POST", "sessions");
    const bool isLogout = IsRequest(question, "DELETE", "sessions");
    // A watched session that lay idle is logged out once, whatever comes of it.
    const bool isWatched = std::find(node.arguments.begin(), node.arguments.end(), "--watch") != node.arguments.end();
    if ((isLogin && fault.isCarriedOut) || (isLogout && (isWatched || fault.code == -401))) {
        ++m_allowedSessions;
    }
    ZavSim::HttpAnswer answer;
    if (fault.isCarriedOut) {
        answer = m_array.Handle(question);
    }
    switch (fault.reply) {
    case Reply::Refusal:
        return told(m_array.Refuse(question, fault.code, fault.words));
    case Reply::Status:
        return {"answer", std::to_string(fault.status), ""};
    case Reply::Nothing:
        if ((*drawn / REQUEST_FAULTS.size()) % 2 == 1) {
            Pass(std::chrono::seconds(std::stoll(question[4]))); // all that the client would wait
        }
        return {"none", fault.words};
    case Reply::Garbage:
        return {"answer", "200", "<html>"};
    case Reply::Half:
        break;
    }
    return {"answer", "200", answer.body.substr(0, answer.body.size() / 2)};
}

Message World::AnswerShell(const Node& node, std::optional<std::uint64_t> fault)
{
    const std::string& command = node.question[1];
    const auto holds = [&command](const char* piece) { return command.find(piece) != std::string::npos; };
    Pass(SHELL_TIME);
    if (fault) {
        Tell("   the command fails");
        return {std::to_string(1 + *fault % 120), "iscsiadm: no"};
    }
    if (holds("initiatorname.iscsi")) {
        return {"0", SimulatedArray::NODE_IQN};
    }
    if (holds("fc_host")) {
        return {"1", "cat: no such file"};
    }
    if (holds("session")) {
        return m_isLoggedIntoPortal ? Message{"0", SimulatedArray::PORTAL} : Message{"0"};
    }
    if (holds("-l") && std::exchange(m_isLoggedIntoPortal, true)) {
        return {"15", "1 session requested, but 1 already present"};
    }
    return {"0"};
}

Message World::AnswerFile(const Node& node, std::optional<std::uint64_t> fault)
{
    const std::string& what = node.question[1];
    const std::string& path = node.question[2];
    if (fault && path.size() > 5 && path.compare(path.size() - 5, 5, ".lock") == 0) {
        fault.reset(); // a process without its lock goes on beside others, as it should
    }
    if (fault) {
        Tell("   the disk is full");
        m_hadFullDisk = true;
        if (what == "write" && *fault % 2 == 1) {
            return {"half"};
        }
        return {"error", std::to_string(what == "flush" ? EIO : what == "lock" ? ENOLCK : ENOSPC)};
    }
    if (what == "flush") {
        m_disk->Flushed(node.question[2]);
    }
    return {"ok"};
}

void World::RequireNoSecrets() const
{
    for (const auto& entry : fs::recursive_directory_iterator(m_folder)) {
        if (!entry.is_regular_file()) {
            continue;
        }
        const std::string text = Base::ReadFileIfThere(entry.path()).value_or("");
        std::set<std::string> secrets = m_array.Tokens();
        secrets.insert(PASSWORD);
        for (const std::string& secret : secrets) {
            if (text.find(secret) != std::string::npos) {
                throw Broken("a password or token lies in " + entry.path().filename().string());
            }
        }
    }
}

} // namespace Simulation

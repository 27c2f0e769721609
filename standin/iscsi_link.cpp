#include "standin/iscsi_link.h"

#include <iscsi/iscsi.h>

#include <poll.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace ZavSimNode {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::seconds ANSWER_LIMIT{5};
constexpr std::chrono::seconds PING_INTERVAL{5};
constexpr int TICK_MILLISECONDS = 1000;

// Login response statuses of the iSCSI protocol: class in the high byte, detail in the low one.
constexpr int INITIATOR_ERROR_CLASS = 0x02;
constexpr int AUTHENTICATION_FAILURE = 0x0201;
constexpr int AUTHORIZATION_FAILURE = 0x0202;

std::vector<NodeRecord> ReadTargets(const iscsi_discovery_address* address)
{
    std::vector<NodeRecord> nodes;
    for (; address != nullptr; address = address->next) {
        for (const iscsi_target_portal* each = address->portals; each != nullptr; each = each->next) {
            const std::string text = each->portal; // "127.0.0.1:3260,1"
            const std::size_t comma = text.find(',');
            const auto portal = ParsePortal(text.substr(0, comma));
            if (portal) {
                // NOLINTNEXTLINE(cert-err34-c): what libiscsi writes is a number, and 0 does for anything else
                const int group = comma == std::string::npos ? 1 : std::atoi(text.c_str() + comma + 1);
                nodes.push_back({address->target_name, *portal, group});
            }
        }
    }
    return nodes;
}

/// libiscsi tells the target's status only inside its error text: "Failed to log in to target. Status: …(515)".
int StatusInText(const std::string& text)
{
    const std::size_t open = text.rfind('(');
    // NOLINTNEXTLINE(cert-err34-c): a text without a number has no status
    return open == std::string::npos ? 0 : std::atoi(text.c_str() + open + 1);
}

LoginResult Classify(int status)
{
    if (status == AUTHENTICATION_FAILURE || status == AUTHORIZATION_FAILURE) {
        return LoginResult::Unauthorized;
    }
    return status >> 8 == INITIATOR_ERROR_CLASS ? LoginResult::Fatal : LoginResult::TimedOut;
}

} // namespace

/// What a callback of libiscsi leaves behind.
struct IscsiLink::Outcome {
    bool done = false;
    int status = SCSI_STATUS_ERROR;
    std::vector<NodeRecord> targets;

    static void Note(iscsi_context*, int status, void*, void* self)
    {
        auto* const outcome = static_cast<Outcome*>(self);
        outcome->done = true;
        outcome->status = status;
    }

    static void NoteTargets(iscsi_context* context, int status, void* data, void* self)
    {
        Note(context, status, data, self);
        if (status == SCSI_STATUS_GOOD) {
            static_cast<Outcome*>(self)->targets = ReadTargets(static_cast<const iscsi_discovery_address*>(data));
        }
    }
};

IscsiLink::IscsiLink(const std::string& initiator)
    : m_context(iscsi_create_context(initiator.c_str()), &iscsi_destroy_context)
{
    if (!m_context) {
        throw std::runtime_error("no memory for an iSCSI connection");
    }
    // A session that broke is over: this stand-in shows what is, it repairs nothing.
    iscsi_set_noautoreconnect(m_context.get(), 1);
    iscsi_set_timeout(m_context.get(), static_cast<int>(ANSWER_LIMIT.count()));
}

IscsiLink::~IscsiLink() = default;

IscsiLink::Outcome& IscsiLink::NewOutcome()
{
    return m_outcomes.emplace_back();
}

bool IscsiLink::StepOnce(int endDescriptor, int milliseconds, bool& ended)
{
    pollfd descriptors[] = {
        {iscsi_get_fd(m_context.get()), static_cast<short>(iscsi_which_events(m_context.get())), 0},
        {endDescriptor, POLLIN, 0}, // a negative one is passed over by poll
    };
    const int ready = ::poll(descriptors, 2, milliseconds);
    ended = ready > 0 && descriptors[1].revents != 0;
    const int events = ready > 0 ? descriptors[0].revents : 0;
    return iscsi_service(m_context.get(), events) == 0 && iscsi_get_fd(m_context.get()) >= 0;
}

bool IscsiLink::Await(const Outcome& outcome)
{
    const auto deadline = SteadyClock::now() + ANSWER_LIMIT;
    while (!outcome.done) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - SteadyClock::now()).count();
        bool ended = false;
        if (left <= 0 || !StepOnce(-1, static_cast<int>(left), ended)) {
            break;
        }
    }
    return outcome.done && outcome.status == SCSI_STATUS_GOOD;
}

bool IscsiLink::Connect(const Portal& portal)
{
    Outcome& outcome = NewOutcome();
    return iscsi_connect_async(m_context.get(), portal.ForUrl().c_str(), &Outcome::Note, &outcome) == 0 &&
           Await(outcome);
}

std::optional<std::vector<NodeRecord>> IscsiLink::Discover(const Portal& portal)
{
    Outcome& login = NewOutcome();
    Outcome& discovery = NewOutcome();
    if (iscsi_set_session_type(m_context.get(), ISCSI_SESSION_DISCOVERY) != 0 || !Connect(portal) ||
        iscsi_login_async(m_context.get(), &Outcome::Note, &login) != 0 || !Await(login) ||
        iscsi_discovery_async(m_context.get(), &Outcome::NoteTargets, &discovery) != 0 || !Await(discovery)) {
        return std::nullopt;
    }
    Logout();
    return discovery.targets;
}

LoginResult IscsiLink::Login(const NodeRecord& node)
{
    Outcome& login = NewOutcome();
    if (iscsi_set_session_type(m_context.get(), ISCSI_SESSION_NORMAL) != 0 ||
        iscsi_set_targetname(m_context.get(), node.target.c_str()) != 0 || !Connect(node.portal) ||
        iscsi_login_async(m_context.get(), &Outcome::Note, &login) != 0) {
        return LoginResult::TimedOut;
    }
    return Await(login) ? LoginResult::Success : Classify(StatusInText(iscsi_get_error(m_context.get())));
}

void IscsiLink::Serve(int endDescriptor)
{
    auto nextPing = SteadyClock::now() + PING_INTERVAL;
    Outcome& ping = NewOutcome();
    ping.done = true;
    bool ended = false;
    while (StepOnce(endDescriptor, TICK_MILLISECONDS, ended) && !ended) {
        if (SteadyClock::now() < nextPing) {
            continue;
        }
        if (!ping.done) {
            return; // a whole interval without an answer
        }
        ping.done = false;
        if (iscsi_nop_out_async(m_context.get(), &Outcome::Note, nullptr, 0, &ping) != 0) {
            return;
        }
        nextPing = SteadyClock::now() + PING_INTERVAL;
    }
    if (ended) {
        Logout();
    }
}

void IscsiLink::Logout()
{
    Outcome& logout = NewOutcome();
    if (iscsi_logout_async(m_context.get(), &Outcome::Note, &logout) == 0) {
        Await(logout);
    }
}

} // namespace ZavSimNode

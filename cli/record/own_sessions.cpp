#include "cli/record/own_sessions.h"

#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/record/own_journal.h"

#include <algorithm>
#include <exception>

namespace OwnSessions {

namespace {

bool AreSame(const IscsiSession& one, const IscsiSession& other)
{
    return one.target == other.target && one.portal == other.portal;
}

bool Has(const std::vector<IscsiSession>& sessions, const IscsiSession& session)
{
    return std::any_of(sessions.begin(), sessions.end(),
                       [&session](const IscsiSession& each) { return AreSame(each, session); });
}

// The target is its name, the portal its id.
OwnJournal::Entry EntryOf(const ArrayLogin& login, const IscsiSession& session)
{
    return {login.DeviceId(), IscsiSession::KIND, session.target, session.portal};
}

void TellUnknown(const char* why)
{
    Report::Tell(std::string("sessions that begin stand in no journal: ") + why);
}

} // namespace

Begin::Begin(const ArrayLogin& login)
    : m_login(login)
{
    if (!OwnJournal::IsKept()) {
        return;
    }
    try {
        m_before = IscsiSessions::Standing();
    } catch (const Failure& failure) {
        TellUnknown(failure.what());
    }
}

Begin::~Begin()
{
    if (!m_before) {
        return;
    }
    try {
        for (const IscsiSession& session : IscsiSessions::Standing()) {
            if (!Has(*m_before, session) && session.IsWithOneOf(m_login.Device().storageIps)) {
                OwnJournal::Enter(EntryOf(m_login, session));
            }
        }
    } catch (const std::exception& error) {
        TellUnknown(error.what());
    }
}

std::vector<IscsiSession> Standing(const ArrayLogin& login, bool isForgotten)
{
    const std::vector<IscsiSession> all = IscsiSessions::Standing();
    std::vector<IscsiSession> own;
    for (const OwnJournal::Entry& entry : OwnJournal::Standing(login.DeviceId())) {
        if (entry.kind != IscsiSession::KIND) {
            continue;
        }
        const auto session = std::find_if(all.begin(), all.end(), [&entry](const IscsiSession& each) {
            return each.target == entry.name && each.portal == entry.id;
        });
        if (session != all.end()) {
            own.push_back(*session);
        } else if (isForgotten) {
            OwnJournal::Drop(entry);
        }
    }
    return own;
}

void RequireIdle(const std::vector<IscsiSession>& sessions)
{
    for (const IscsiSession& session : sessions) {
        const std::vector<std::string> uses = IscsiSessions::UsesOf(session);
        if (!uses.empty()) {
            throw Failure(ExitCode::Foreign, session.Naming() + ": " + uses.front() + "; nothing was changed");
        }
    }
}

void End(const ArrayLogin& login, const std::vector<IscsiSession>& sessions)
{
    for (const IscsiSession& session : sessions) {
        IscsiSessions::End(session);
        OwnJournal::Drop(EntryOf(login, session));
        Report::Step(session.Naming() + " has ended");
    }
}

} // namespace OwnSessions

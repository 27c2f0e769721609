#include "base/host_port.h"
#include "base/utc_text.h"
#include "cli/console/remedies.h"
#include "cli/doctor/environment_edits.h"
#include "cli/doctor/probes.h"
#include "cli/doctor/server_look.h"
#include "common/environment.h"

#include <cstdlib>

namespace Doctor {

namespace {

// Both together leave time to tell of it.
constexpr std::chrono::milliseconds LIMIT_OF_THE_LOOK{3000};
constexpr std::chrono::milliseconds LIMIT_OF_THE_LOOK_OTHERWISE{1000};
constexpr std::int64_t SECONDS_A_DAY = 86400;
constexpr std::int64_t DAYS_TO_RENEW = 30;
constexpr std::int64_t MOST_SECONDS_OFF = 60; // of the clocks: records and logs of both are compared by minutes

std::string DayOf(std::time_t time)
{
    const std::string text = Base::UtcText(time);
    return text.substr(0, text.find('T'));
}

/// One address, and what is found there.
class AddressLook {
public:
    AddressLook(const Patient& patient, std::string address)
        : m_patient(patient)
        , m_address(std::move(address))
        , m_port(patient.env.ports().empty() ? "" : std::to_string(patient.env.ports(0)))
        , m_isTls(patient.env.protocols().empty() || Environment::ProtocolText(patient.env.protocols(0)) == "https")
        , m_place("management address " + m_address + ":" + m_port)
    {
    }

    Findings Take()
    {
        const ServerLook look = Look(m_isTls, LIMIT_OF_THE_LOOK);
        if (look.stage != ServerLook::Stage::Answered) {
            m_patient.logins.GiveUp(m_address);
            AddProblem(look);
            return std::move(m_findings);
        }
        AddDates(look);
        AddClock(look);
        AddLogin();
        return std::move(m_findings);
    }

private:
    ServerLook Look(bool isTls, std::chrono::milliseconds limit) const
    {
        return LookAtServer(Base::BareHost(m_address), m_port, isTls, limit);
    }

    void Add(Severity severity, const std::string& seen, const std::string& remedy, const std::string& command,
             ExitCode exit)
    {
        m_findings.push_back({severity, m_place + ": " + seen, remedy, command, exit});
    }

    // An array that has others is reached by them.
    Severity SeverityOfSilence() const
    {
        return ManagementAddresses(m_patient.env).size() > 1 ? Severity::Warning : Severity::Error;
    }

    void AddProblem(const ServerLook& look)
    {
        if (look.stage == ServerLook::Stage::Connected &&
            Look(!m_isTls, LIMIT_OF_THE_LOOK_OTHERWISE).stage == ServerLook::Stage::Answered) {
            Add(Severity::Error,
                m_isTls ? "the environment says https, and the port speaks http"
                        : "the environment says http, and the port speaks https",
                m_isTls ? "have the array's administrator switch https on; http sends the password in the clear"
                        : "have https in the environment",
                m_isTls ? "" : Edit::WithNumber(m_patient, "protocols", Environment::PROTOCOL_HTTPS),
                ExitCode::Unreachable);
            return;
        }
        const std::string command = Edit::WithoutAddress(m_patient, m_address);
        Add(SeverityOfSilence(), look.problem,
            std::string("check the way there and that the array's management service runs") +
                (command.empty() ? "; correct address and port in the environment where they are wrong"
                                 : "; where the address is no more, take it out of the environment"),
            command, ExitCode::Unreachable);
    }

    void AddDates(const ServerLook& look)
    {
        const std::time_t now = std::time(nullptr);
        if (look.certificateBegin && *look.certificateBegin > now) {
            Add(Severity::Error, "its certificate holds from " + DayOf(*look.certificateBegin) + " on only",
                "look at this node's clock first; when that is right, have the array show a certificate that is valid "
                "now",
                "", ExitCode::Refused);
        }
        if (!look.certificateEnd || *look.certificateEnd - now > DAYS_TO_RENEW * SECONDS_A_DAY) {
            return;
        }
        const bool isOver = *look.certificateEnd <= now;
        Add(isOver ? Severity::Error : Severity::Warning,
            isOver ? "its certificate ended on " + DayOf(*look.certificateEnd)
                   : "its certificate ends on " + DayOf(*look.certificateEnd) + ", in " +
                         std::to_string((*look.certificateEnd - now) / SECONDS_A_DAY) + " days",
            "have the array's administrator renew it; nothing on this node does", "", ExitCode::Refused);
    }

    void AddClock(const ServerLook& look)
    {
        if (look.secondsAhead && std::abs(*look.secondsAhead) > MOST_SECONDS_OFF) {
            Add(Severity::Warning,
                "its clock is " + std::to_string(std::abs(*look.secondsAhead)) + " s " +
                    (*look.secondsAhead > 0 ? "ahead of" : "behind") +
                    " this node's: certificates, logs and the array's events tell other times than this node",
                "let both follow a time server: this node by the command, the array by its administrator",
                "timedatectl set-ntp true", ExitCode::Refused);
        }
    }

    void AddLogin()
    {
        const auto failed = m_patient.logins.Try(m_address);
        if (failed) {
            Add(Severity::Error, failed->cause, RemedyFor(failed->cause, failed->exit),
                failed->exit == ExitCode::LoginRefused ? Edit::WithNewPassword(m_patient, false) : "", failed->exit);
        }
    }

    const Patient& m_patient;
    const std::string m_address;
    const std::string m_port;
    const bool m_isTls;
    const std::string m_place;
    Findings m_findings;
};

} // namespace

Findings LookAtManagementAddress(const Patient& patient, const std::string& address)
{
    return AddressLook(patient, address).Take();
}

} // namespace Doctor

#include "cli/doctor/probes.h"
#include "cli/node/node_initiators.h"
#include "cli/node/node_shell.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <optional>
#include <sstream>

// The node's own iSCSI: what the library logs in with.

namespace Doctor {

namespace {

constexpr const char* LOCK = "/run/lock/iscsi/lock.write";
constexpr const char* INITIATOR_FILE = "/etc/iscsi/initiatorname.iscsi";

// Whoever serves iscsiadm listens at this name: iscsid, or systemd in its place until it is first needed.
bool IsIscsidServed()
{
    const NodeShell::Answer sockets = NodeShell::Ask("cat /proc/net/unix");
    return std::any_of(sockets.output.begin(), sockets.output.end(), [](const std::string& line) {
        return line.find("@ISCSIADM_ABSTRACT_NAMESPACE") != std::string::npos;
    });
}

std::optional<long> NumberOf(const std::string& text)
{
    long number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

// When the link that is the lock was made, in seconds since the epoch.
std::optional<long> WhenLocked()
{
    const NodeShell::Answer answer = NodeShell::Ask("stat -c %Z '?'", {LOCK});
    return answer.status == 0 && !answer.output.empty() ? NumberOf(answer.output.front()) : std::nullopt;
}

// A lock made so many seconds ago is that of a program which ran already then; iscsid holds it for moments only.
bool IsHeldByALivingOne(long age)
{
    constexpr long LONGEST_OF_ISCSID = 30; // as long as iscsiadm waits for it
    const NodeShell::Answer running = NodeShell::Ask("ps -C iscsiadm,iscsid -o etimes=,comm=");
    if (running.IsNotFound()) {
        return true; // for all that anybody can tell
    }
    for (const std::string& line : running.output) {
        std::istringstream words(line);
        long runs = 0;
        std::string name;
        if (words >> runs >> name && runs + 1 >= age && (name == "iscsiadm" || age < LONGEST_OF_ISCSID)) {
            return true;
        }
    }
    return false;
}

} // namespace

Severity SeverityOfIscsi()
{
    return NodeInitiators::Read().ports.empty() ? Severity::Error : Severity::Warning;
}

Findings LookAtIscsiTools(const Patient& /*patient*/, const std::string& /*part*/)
{
    const Severity severity = SeverityOfIscsi();
    const NodeShell::Version iscsiadm = NodeShell::VersionOf("iscsiadm");
    const NodeShell::Version iscsid = NodeShell::VersionOf("iscsid");
    Findings findings;
    for (const auto& [name, version] : {std::pair("iscsiadm", &iscsiadm), std::pair("iscsid", &iscsid)}) {
        if (!version->isThere) {
            findings.push_back({severity, std::string(name) + " is not installed: no iSCSI session comes about",
                                "install open-iscsi", "apt-get install open-iscsi", ExitCode::Unusable});
        }
    }
    if (!iscsiadm.number.empty() && !iscsid.number.empty() && iscsiadm.number != iscsid.number) {
        findings.push_back({Severity::Warning,
                            "iscsiadm is of version " + iscsiadm.number + " and iscsid of version " + iscsid.number +
                                ": they may not understand each other",
                            "have both from one package", "apt-get install --reinstall open-iscsi",
                            ExitCode::Unusable});
    }
    if (iscsid.isThere && !IsIscsidServed()) {
        findings.push_back({severity, "iscsid is not running: iscsiadm can log in nowhere", "start it",
                            "systemctl start iscsid", ExitCode::Unusable});
    }
    return findings;
}

Findings LookAtIscsiLock(const Patient& /*patient*/, const std::string& /*part*/)
{
    const std::optional<long> made = WhenLocked();
    const long age = made ? std::time(nullptr) - *made : 0;
    if (!made || IsHeldByALivingOne(age) || WhenLocked() != made) { // its holder may have ended between the looks
        return {};
    }
    return {{SeverityOfIscsi(),
             std::string(LOCK) + ": an iscsiadm that was killed " + std::to_string(age) +
                 " s ago left the lock of the node database behind: each later one waits 30 s and fails",
             "take the lock away", std::string("rm ") + LOCK, ExitCode::Unusable}};
}

Findings LookAtInitiators(const Patient& /*patient*/, const std::string& /*part*/)
{
    if (!NodeInitiators::Read().AreNone()) {
        return {};
    }
    return {{Severity::Error, std::string("this node has no initiator: no FC port, and no name in ") + INITIATOR_FILE,
             "give it a name of its own, or put an FC port in",
             std::string("echo \"InitiatorName=$(iscsi-iname)\" >") + INITIATOR_FILE, ExitCode::Unusable}};
}

} // namespace Doctor

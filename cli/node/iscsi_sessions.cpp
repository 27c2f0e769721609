#include "cli/node/iscsi_sessions.h"

#include "base/host_port.h"
#include "base/printable_text.h"
#include "cli/console/failure.h"
#include "cli/node/block_device_uses.h"
#include "cli/node/kernel_file.h"
#include "common/framework/shell_runner.h"

#include <boost/filesystem.hpp>

#include <algorithm>
#include <regex>

namespace fs = boost::filesystem;

namespace {

using Lines = std::vector<std::string>;

int RunShell(const std::string& command, const Lines& params, Lines& out, Lines& err)
{
    return runShellCmdWithOutput(severity_level::Info, "zavctl", 0, command, params, out, err);
}

// What iscsiadm ends with where there is none of what it was asked for.
constexpr int NOTHING_FOUND = 21;

std::string WordsOf(const Lines& err, int code)
{
    return "iscsiadm said \"" + Base::PrintableLines(err) + "\" (" + std::to_string(code) + ")";
}

// Runs iscsiadm for one session.
void RunIscsiadm(const std::string& options, const IscsiSession& session, const std::string& what)
{
    Lines out;
    Lines err;
    const int code = RunShell("iscsiadm -m node -T '?' -p '?' " + options, {session.target, session.portal}, out, err);
    if (code != 0 && code != NOTHING_FOUND) {
        throw Failure(ExitCode::Refused, session.Naming() + ": " + what + ": " + WordsOf(err, code));
    }
}

// "sda" of /sys/class/iscsi_session/session1/device/target2:0:0/2:0:0:1/block/sda.
std::vector<std::string> DisksOf(int session)
{
    std::vector<std::string> disks;
    boost::system::error_code error;
    const fs::path device = "/sys/class/iscsi_session/session" + std::to_string(session) + "/device";
    for (fs::recursive_directory_iterator each(device, error), end; !error && each != end; each.increment(error)) {
        if (each->path().parent_path().filename() == "block") {
            disks.push_back(each->path().filename().string());
            each.disable_recursion_pending();
        }
    }
    return disks;
}

} // namespace

std::string IscsiSession::Naming() const
{
    return std::string(KIND) + " with " + target + " at " + portal;
}

bool IscsiSession::IsAt(const std::string& address) const
{
    const std::string host = portal.substr(0, portal.rfind(':'));
    return Base::BareHost(host) == Base::BareHost(address);
}

bool IscsiSession::IsWithOneOf(const std::vector<std::string>& addresses) const
{
    return std::any_of(addresses.begin(), addresses.end(), [this](const std::string& each) { return IsAt(each); });
}

namespace IscsiSessions {

std::vector<IscsiSession> Standing()
{
    constexpr int NOT_INSTALLED = 127;
    Lines out;
    Lines err;
    std::vector<IscsiSession> sessions;
    const int code = RunShell("iscsiadm -m session", {}, out, err);
    if (code == NOTHING_FOUND || code == NOT_INSTALLED) {
        return sessions;
    }
    if (code != 0) {
        throw Failure(ExitCode::Refused, "this node's iSCSI sessions are not known: " + WordsOf(err, code));
    }
    static const std::regex line("^[a-z0-9]+: \\[([0-9]{1,9})\\] (\\S+:[0-9]+),-?[0-9]+ (\\S+)( \\(.*\\))?$");
    std::smatch parts;
    for (const std::string& each : out) { // "tcp: [1] 10.0.0.5:3260,1 iqn.2020-01.example:a (non-flash)"
        if (std::regex_match(each, parts, line)) {
            sessions.push_back({std::stoi(parts[1]), parts[3], parts[2]});
        }
    }
    return sessions;
}

std::string StateOf(const IscsiSession& session)
{
    return ReadKernelFile("/sys/class/iscsi_session/session" + std::to_string(session.number) + "/state");
}

bool IsUp(const std::string& state)
{
    return state.empty() || state == "LOGGED_IN";
}

std::vector<std::string> UsesOf(const IscsiSession& session)
{
    std::vector<std::string> uses;
    for (const std::string& disk : DisksOf(session.number)) {
        for (const std::string& use : BlockDevice::UsesOf(disk)) {
            uses.push_back("disk " + disk + " " + use);
        }
    }
    return uses;
}

void End(const IscsiSession& session)
{
    RunIscsiadm("-u", session, "it does not end");
    RunIscsiadm("-o delete", session, "its node record stays");
}

} // namespace IscsiSessions

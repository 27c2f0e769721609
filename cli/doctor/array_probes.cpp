#include "cli/array/array_inventory.h"
#include "cli/array/array_objects.h"
#include "cli/console/failure.h"
#include "cli/console/remedies.h"
#include "cli/doctor/environment_edits.h"
#include "cli/doctor/probes.h"
#include "cli/node/iscsi_sessions.h"
#include "cli/node/node_initiators.h"
#include "cli/node/node_shell.h"
#include "cli/node/own_files.h"
#include "cli/picture/node_look.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "cli/record/recorded_objects.h"
#include "common/framework/config_reader.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <map>
#include <set>

// What array and node say of each other. Where no login came about, the addresses' findings tell why, and nothing else
// is asked.

namespace Doctor {

namespace {

std::string InitOn(const Patient& patient)
{
    return "zavctl init --env " + Edit::FileOf(patient);
}

// "FC initiator 2100…, iSCSI initiator iqn…": those on a host that this node does not have, nor had by its record.
std::vector<std::string> StrangersOn(ArrayObjects& objects, const std::string& hostId, const NodeInitiators& node,
                                     const DeviceMessage& record)
{
    const std::set<std::string> formerPorts = RecordedPorts(record);
    std::vector<std::string> strangers;
    for (const ObjectKind* const kind : {&FC_INITIATOR, &ISCSI_INITIATOR}) {
        for (const std::string& id : objects.Initiators(*kind, hostId)) {
            if (!node.Has(id) && id != record.iscsiInitiatorName && formerPorts.count(id) == 0) {
                strangers.push_back(kind->Naming(id));
            }
        }
    }
    return strangers;
}

// What keeps sessions of this node with the array from being ended.
std::vector<std::string> UsesOfSessions(const ArrayLogin& login)
{
    const std::vector<std::string>& addresses = login.Device().storageIps;
    std::vector<std::string> uses;
    for (const IscsiSession& session : IscsiSessions::Standing()) {
        if (std::any_of(addresses.begin(), addresses.end(),
                        [&session](const std::string& address) { return session.IsAt(address); })) {
            const std::vector<std::string> some = IscsiSessions::UsesOf(session);
            uses.insert(uses.end(), some.begin(), some.end());
        }
    }
    return uses;
}

// On the copy of a node: all that it took over from the other is put aside, sessions under the other's name are ended,
// and the node is prepared under a name of its own.
std::string PartFromTheOther(const Patient& patient, const ArrayLogin& login)
{
    std::vector<std::string> steps;
    const std::vector<std::string>& addresses = login.Device().storageIps;
    for (const IscsiSession& session : IscsiSessions::Standing()) {
        if (std::any_of(addresses.begin(), addresses.end(),
                        [&session](const std::string& address) { return session.IsAt(address); })) {
            steps.push_back("iscsiadm -m node -T " + NodeShell::Word(session.target) + " -p " +
                            NodeShell::Word(session.portal) + " -u");
        }
    }
    for (const std::string& path : {DeviceRecord(login.DeviceId()).Path(), OwnJournal::Path()}) {
        if (boost::filesystem::exists(path)) {
            steps.push_back("mv " + NodeShell::Word(path) + " " + NodeShell::Word(path) + ".of-the-other");
        }
    }
    steps.emplace_back("echo \"InitiatorName=$(iscsi-iname)\" >/etc/iscsi/initiatorname.iscsi");
    steps.emplace_back("systemctl restart iscsid");
    steps.push_back(InitOn(patient));
    return boost::join(steps, " && ");
}

constexpr const char* ONLINE = "Online"; // as the kernel has it

/// A port of this node's adapters.
struct FcPort {
    std::string host; ///< "host0"
    std::string wwpn;
    std::string state; ///< empty where the kernel does not tell

    std::string Naming() const { return "FC port " + wwpn + " (" + host + ")"; }
};

std::string FcHostFolder(const std::string& host)
{
    return "/sys/class/fc_host/" + host;
}

std::vector<FcPort> FcPorts()
{
    std::vector<FcPort> ports;
    for (const std::string& host : NodeShell::Ask("ls /sys/class/fc_host").output) {
        const NodeShell::Answer name = NodeShell::Ask("cat '?'", {FcHostFolder(host) + "/port_name"});
        const NodeShell::Answer state = NodeShell::Ask("cat '?'", {FcHostFolder(host) + "/port_state"});
        if (!name.output.empty()) {
            ports.push_back({host, boost::erase_all_copy(name.output.front(), "0x"),
                             state.output.empty() ? "" : state.output.front()});
        }
    }
    return ports;
}

// The array knows the port, and does not see it online. One that it is yet to know is none of these.
bool IsMissed(const ArrayLogin& login, const std::string& wwpn)
{
    const auto api = login.Api();
    const std::string& url = login.Device().url;
    return ArrayObjects(*api, url).Find(FC_INITIATOR, wwpn) && !ArraySeesOnline(*api, url, wwpn);
}

void AddStrangersIn(const PictureItem& item, std::set<std::string>& faults)
{
    for (const PictureItem& part : item.parts) {
        if (item.kind == HOST.words && part.standing == Standing::Foreign) {
            faults.insert(part.Naming() + ": " + part.why);
        }
        AddStrangersIn(part, faults);
    }
}

} // namespace

Findings LookAtSerials(const Patient& patient, const std::string& /*part*/)
{
    const std::map<std::string, std::string> ids = patient.logins.DeviceIds();
    const std::string first = patient.env.management_ips_size() == 0 ? "" : patient.env.management_ips(0);
    const auto reference = ids.count(first) != 0 ? ids.find(first) : ids.begin();
    Findings findings;
    for (const auto& [address, id] : ids) {
        if (id != reference->second) {
            findings.push_back(
                {Severity::Error,
                 "management addresses " + reference->first + " and " + address + " are of two arrays, " +
                     reference->second + " and " + id + ": which of them is worked on is left to chance",
                 "take the address of the other array out of the environment",
                 // Where the first is silent, nobody knows which of them is the environment's array.
                 reference->first == first ? Edit::WithoutAddress(patient, address) : "", ExitCode::Unusable});
        }
    }
    return findings;
}

Findings LookAtFcPorts(const Patient& /*patient*/, const std::string& /*part*/)
{
    Findings findings;
    for (const FcPort& port : FcPorts()) {
        if (!port.state.empty() && port.state != ONLINE) {
            findings.push_back({Severity::Warning, port.Naming() + " is " + port.state + ", says the kernel",
                                "look at its cable and the switch's port, then have it log into its fabric anew",
                                "echo 1 >" + FcHostFolder(port.host) + "/issue_lip", ExitCode::Drift});
        }
    }
    return findings;
}

Findings LookAtFcPortsOnTheArray(const Patient& patient, const std::string& /*part*/)
{
    std::vector<FcPort> ports = FcPorts();
    ports.erase(std::remove_if(ports.begin(), ports.end(), [](const FcPort& port) { return port.state != ONLINE; }),
                ports.end());
    const auto login = ports.empty() ? nullptr : patient.logins.Await();
    Findings findings;
    for (const FcPort& port : ports) {
        if (login != nullptr && IsMissed(*login, port.wwpn)) {
            // No command: to log in anew breaks off what the disks of other arrays have under way.
            findings.push_back({Severity::Warning,
                                port.Naming() + " is online, and " + login->Device().url + " does not see it",
                                "have the fabric's administrator look whether its zones let the port reach the array",
                                "", ExitCode::Drift});
        }
    }
    return findings;
}

Findings LookAtHostsOfInitiators(const Patient& patient, const std::string& /*part*/)
{
    const auto login = patient.logins.Await();
    if (login == nullptr) {
        return {};
    }
    const auto api = login->Api();
    ArrayObjects objects(*api, login->Device().url);
    const NodeInitiators node = NodeInitiators::Read();
    const DeviceMessage record = DeviceRecord(login->DeviceId()).Message();
    std::set<std::string> seen;
    Findings findings;
    for (const NodeInitiators::Name& name : node.All()) {
        const auto initiator = objects.Find(*name.kind, name.id);
        if (!initiator || initiator->parentId.empty() || !seen.insert(initiator->parentId).second) {
            continue;
        }
        const auto strangers = StrangersOn(objects, initiator->parentId, node, record);
        if (!strangers.empty()) {
            const bool isIscsi = name.kind == &ISCSI_INITIATOR;
            const std::vector<std::string> uses = isIscsi ? UsesOfSessions(*login) : std::vector<std::string>();
            findings.push_back(
                {Severity::Error,
                 "host " + initiator->parentId + " of " + login->Device().url + " has this node's " +
                     name.kind->Naming(name.id) + ", and " + boost::join(strangers, ", ") +
                     ", which is not this node's: this node is a clone of another, or the other way round, and both "
                     "write to the same LUNs",
                 !uses.empty()
                     ? "see first which of the two is the copy; there, end what uses the array's disks, and look "
                       "again: " +
                           boost::join(uses, ", ")
                 : isIscsi ? "see first which of the two is the copy; there, and nowhere else, run the command, which "
                             "gives it a name and a host of its own; where neither is, have the array's administrator "
                             "take the stranger off the host"
                           : "have the array's administrator take the stranger off the host",
                 isIscsi && uses.empty() ? PartFromTheOther(patient, *login) : "", ExitCode::Foreign});
        }
    }
    return findings;
}

Findings LookAtRecord(const Patient& patient, const std::string& /*part*/)
{
    const auto login = patient.logins.Await();
    if (login == nullptr || DeviceRecord(login->DeviceId()).IsEmpty()) {
        return {}; // nothing was prepared there, or cannot be asked for
    }
    const NodePicture picture = LookAtNode(*login);
    std::set<std::string> strangers; // which are told of the host
    AddStrangersIn(picture.root, strangers);
    Findings findings;
    for (const std::string& fault : picture.faults) {
        if (strangers.count(fault) == 0) {
            findings.push_back({Severity::Error, login->Device().url + ": " + fault, RemedyFor(fault, ExitCode::Drift),
                                InitOn(patient), ExitCode::Drift});
        }
    }
    return findings;
}

Findings LookAtRateGuard(const Patient& patient, const std::string& /*part*/)
{
    constexpr std::uint64_t MINUTE = 60;
    const auto login = patient.logins.Await();
    if (login == nullptr) {
        return {};
    }
    const std::uint64_t luns = ArrayInventory(*login).LunCount();
    const auto interval =
        static_cast<std::uint64_t>(std::max(0, ConfigReader::getInt("BackupNode", "DosRequestInterval", true)));
    const auto count =
        static_cast<std::uint64_t>(std::max(0, ConfigReader::getInt("BackupNode", "DosRequestCount", true)));
    const std::uint64_t requests = (luns + ArrayInventory::PAGE - 1) / ArrayInventory::PAGE;
    const std::uint64_t delayed = requests > count ? (requests - count) * interval : 0;
    if (delayed == 0) {
        return {};
    }
    return {{Severity::Warning,
             "the " + std::to_string(luns) + " LUNs of " + login->Device().url + " take " + std::to_string(requests) +
                 " requests to list, of which the rate guard lets " + std::to_string(count) +
                 " pass at once: it waits " +
                 (delayed < 2 * MINUTE ? std::to_string(delayed) + " s" : std::to_string(delayed / MINUTE) + " min") +
                 " each time",
             "let as many requests pass as a list takes, where the array bears them",
             Edit::WithSetting("BackupNode", "DosRequestCount", std::to_string(requests)), ExitCode::Refused}};
}

} // namespace Doctor

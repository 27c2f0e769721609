#include "cli/array/environment_check.h"

#include "base/host_port.h"
#include "cli/array/environment_file.h"
#include "common/environment.h"
#include "common/json_text.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <algorithm>
#include <array>
#include <set>

namespace {

constexpr std::uint64_t LAST_PORT = 65535;

using Texts = google::protobuf::RepeatedPtrField<std::string>;
using Names = std::set<std::string>;

// The parser tells its first fault alone: one member at a time has each told. `unreadable` receives the names of those
// that are there and say nothing.
void ReadMembers(const Json::Value& root, EnvironmentPath& env, Names& unreadable, std::vector<std::string>& faults)
{
    for (const std::string& name : root.getMemberNames()) {
        Json::Value member(Json::objectValue);
        member[name] = root[name];
        EnvironmentPath read;
        const std::string problem = ParseEnvironment(JsonText::Write(member, JsonText::Style::Compact), read);
        if (problem.empty()) {
            env.MergeFrom(read);
        } else {
            faults.push_back(problem);
            unreadable.insert(name);
        }
    }
}

// False when there is nothing to look at further.
bool Read(const std::string& text, EnvironmentPath& env, Names& unreadable, std::vector<std::string>& faults)
{
    const std::string problem = ParseEnvironment(text, env);
    if (problem.empty()) {
        return true;
    }
    env.Clear();
    Json::Value root;
    const bool hasMembers = JsonText::Parse(text, root) && root.isObject();
    if (hasMembers) {
        ReadMembers(root, env, unreadable, faults);
    }
    if (faults.empty()) { // of the text as a whole
        faults.push_back(problem);
    }
    return hasMembers;
}

bool IsLabel(const std::string& label)
{
    constexpr std::size_t LONGEST = 63;
    const auto isLetterOrDigit =
        boost::is_from_range('a', 'z') || boost::is_from_range('A', 'Z') || boost::is_from_range('0', '9');
    return !label.empty() && label.size() <= LONGEST && label.front() != '-' && label.back() != '-' &&
           std::all_of(label.begin(), label.end(), isLetterOrDigit || boost::is_any_of("-"));
}

// A last label of digits is no name's: what looks so is an IPv4 address that is none.
bool IsHostName(const std::string& text)
{
    constexpr std::size_t LONGEST = 253;
    std::vector<std::string> labels;
    boost::split(labels, text, boost::is_any_of("."));
    return text.size() <= LONGEST && std::all_of(labels.begin(), labels.end(), IsLabel) &&
           !std::all_of(labels.back().begin(), labels.back().end(), boost::is_from_range('0', '9'));
}

std::string Entry(const char* list, int index)
{
    return std::string(list) + "[" + std::to_string(index) + "]";
}

/// Looks at one environment and collects what is to be said.
class Checker {
public:
    Checker(const EnvironmentPath& env, const Names& unreadable, EnvironmentFindings& findings)
        : m_env(env)
        , m_unreadable(unreadable)
        , m_findings(findings)
    {
    }

    void Check(const DecryptionProblem& problemOf)
    {
        CheckLists();
        CheckAddresses("managementIps", m_env.management_ips());
        CheckEntries("userNames", m_env.user_names());
        CheckEntries("encryptedPasswords", m_env.encrypted_passwords());
        CheckPasswords(problemOf);
        CheckEntries("certificates", m_env.certificates());
        CheckPorts();
        CheckProtocols();
        CheckAddresses("allManagementIps", m_env.all_management_ips());
        CheckFurtherAddresses();
    }

private:
    struct List {
        const char* name;
        const char* fieldName;
        const char* meaning;
        int size;
    };

    // Each must have an entry, and the first counts.
    void CheckLists()
    {
        const std::array<List, 5> lists = {
            {{"managementIps", "management_ips", "the address to log in at", m_env.management_ips_size()},
             {"userNames", "user_names", "who logs in", m_env.user_names_size()},
             {"encryptedPasswords", "encrypted_passwords", "what zavctl password encrypt prints",
              m_env.encrypted_passwords_size()},
             {"ports", "ports", "the port of the management address", m_env.ports_size()},
             {"protocols", "protocols", "0 for https, 1 for http", m_env.protocols_size()}}};
        for (const List& list : lists) {
            const bool isUnreadable = m_unreadable.count(list.name) + m_unreadable.count(list.fieldName) != 0;
            if (list.size == 0 && !isUnreadable) {
                Fault(std::string(list.name) + " is missing: " + list.meaning);
            } else if (list.size > 1) {
                Warning(std::string(list.name) + " has " + std::to_string(list.size) +
                        " entries: the first alone counts");
            }
        }
    }

    void CheckEntries(const char* list, const Texts& entries)
    {
        for (int i = 0; i < entries.size(); ++i) {
            if (entries[i].empty()) {
                Fault(Entry(list, i) + " is empty");
            }
        }
    }

    void CheckAddresses(const char* list, const Texts& addresses)
    {
        CheckEntries(list, addresses);
        for (int i = 0; i < addresses.size(); ++i) {
            const std::string problem = addresses[i].empty() ? "" : ProblemOfAddress(addresses[i]);
            if (!problem.empty()) {
                Fault(Entry(list, i) + " is " + problem);
            }
        }
    }

    void CheckPasswords(const DecryptionProblem& problemOf)
    {
        for (int i = 0; i < m_env.encrypted_passwords_size(); ++i) {
            const std::string& cipher = m_env.encrypted_passwords(i);
            const std::string problem = cipher.empty() ? "" : problemOf(cipher);
            if (!problem.empty()) {
                Fault(Entry("encryptedPasswords", i) + " cannot be decrypted: " + problem);
            }
        }
    }

    void CheckPorts()
    {
        for (int i = 0; i < m_env.ports_size(); ++i) {
            if (m_env.ports(i) < 1 || m_env.ports(i) > LAST_PORT) {
                Fault(Entry("ports", i) + " is " + std::to_string(m_env.ports(i)) + ": a port is 1 to 65535");
            }
        }
    }

    void CheckProtocols()
    {
        for (int i = 0; i < m_env.protocols_size(); ++i) {
            const int protocol = m_env.protocols(i);
            if (protocol == Environment::PROTOCOL_HTTP) {
                Warning(Entry("protocols", i) + " is 1: http sends the password in the clear");
            } else if (protocol != Environment::PROTOCOL_HTTPS) {
                Warning(Entry("protocols", i) + " is " + std::to_string(protocol) +
                        ": anything else than 1 means https, and with 0 alone is the certificate of another "
                        "management address verified before it is used");
            }
        }
    }

    void CheckFurtherAddresses()
    {
        const Texts& all = m_env.all_management_ips();
        if (m_env.management_ips().empty() || m_unreadable.count("allManagementIps") != 0) {
            return;
        }
        const std::string& first = m_env.management_ips(0);
        if (!first.empty() && std::find(all.begin(), all.end(), first) == all.end()) {
            Warning("managementIps[0], " + first + ", is not among allManagementIps");
        }
        const bool isVerified = m_env.protocols().empty() || m_env.protocols(0) != Environment::PROTOCOL_HTTPS ||
                                !m_env.certificates().empty() || m_unreadable.count("certificates") != 0;
        if (!Environment::OtherManagementIps(m_env).empty() && !isVerified) {
            Warning("certificates is missing: the certificate of another management address is not verified before it "
                    "is used");
        }
    }

    void Fault(const std::string& text) { m_findings.faults.push_back(text); }
    void Warning(const std::string& text) { m_findings.warnings.push_back(text); }

    const EnvironmentPath& m_env;
    const Names& m_unreadable;
    EnvironmentFindings& m_findings;
};

} // namespace

EnvironmentFindings CheckEnvironment(const std::string& text, const DecryptionProblem& problemOf)
{
    EnvironmentFindings findings;
    EnvironmentPath env;
    Names unreadable;
    if (Read(text, env, unreadable, findings.faults)) {
        Checker(env, unreadable, findings).Check(problemOf);
    }
    return findings;
}

std::string ProblemOfAddress(const std::string& address)
{
    const std::string bare = Base::BareHost(address);
    const bool isIpv6 = Base::IsIpv6Address(bare) && bare.find('\0') == std::string::npos;
    if (isIpv6 && bare == address) {
        return "an IPv6 address without brackets: [" + address + "]";
    }
    // IPv4 addresses are told from names by their last label.
    const bool isIpv4 = Base::IsNumericAddress(address) && address.find('\0') == std::string::npos;
    return isIpv6 || isIpv4 || IsHostName(address)
               ? ""
               : "\"" + address + "\", which is no IPv4 address, no IPv6 address in brackets, and no host name";
}

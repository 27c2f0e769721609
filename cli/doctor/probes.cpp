#include "cli/doctor/probes.h"

#include "cli/console/explanation.h"
#include "cli/console/failure.h"
#include "cli/console/log_tail.h"
#include "cli/console/within.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <functional>
#include <limits>
#include <locale>
#include <numeric>

namespace Doctor {

namespace {

constexpr std::chrono::seconds LIMIT_OF_A_PROBE{5};

std::vector<std::string> OnceForTheNode(const Patient& /*patient*/)
{
    return {""};
}

std::vector<std::string> OnceForTheArray(const Patient& patient)
{
    return patient.HasEnvironment() ? std::vector<std::string>{""} : std::vector<std::string>();
}

std::vector<std::string> EachManagementAddress(const Patient& patient)
{
    return ManagementAddresses(patient.env);
}

Finding TooLate(const Probe& probe, const std::string& part, const std::string& remedy)
{
    const std::string what = std::string(probe.name) + (part.empty() ? "" : " " + part);
    return {Severity::Error, what + ": no end of the look within " + std::to_string(LIMIT_OF_A_PROBE.count()) + " s",
            remedy, "", ExitCode::Unreachable};
}

std::string WayToSeeByHand(const Probe& probe)
{
    return probe.byHand == nullptr ? "look at the other findings first; -vv shows what was waited for"
                                   : std::string("see by hand what it waits for: ") + probe.byHand;
}

// What the library logged of a failure is heard by the thread alone.
Findings LookOrTellWhyNot(const Probe& probe, const Patient& patient, const std::string& part)
{
    LogTail log(true);
    try {
        return probe.look(patient, part);
    } catch (const NoLoginInTime&) {
        return {TooLate(probe, part,
                        "it waited for a login at the array, which took too long: look at the array's load and the way "
                        "to it")};
    } catch (const Failure& failure) {
        const Explanation explanation = Explain(failure, log.Take());
        return {{Severity::Error, explanation.cause, explanation.remedy, "", explanation.exit}};
    } catch (const std::exception& error) {
        return {{Severity::Error, std::string(probe.name) + ": " + error.what(), "", "", ExitCode::OurFault}};
    }
}

// A locale learns how to narrow each character when a regular expression first asks for it. Threads would have it learn
// the same at the same time; from here on it knows all.
void TeachLocaleToNarrow()
{
    std::array<char, 256> all = {};
    std::iota(all.begin(), all.end(), static_cast<char>(std::numeric_limits<char>::min()));
    std::array<char, 256> narrowed = {};
    std::use_facet<std::ctype<char>>(std::locale()).narrow(all.data(), all.data() + all.size(), '\0', narrowed.data());
}

} // namespace

const std::vector<Probe>& AllProbes()
{
    // A row to a probe.
    // clang-format off
    static const std::vector<Probe> PROBES = {
        {"iSCSI tools", &OnceForTheNode, &LookAtIscsiTools, "iscsiadm --version; iscsid --version"},
        {"iSCSI lock", &OnceForTheNode, &LookAtIscsiLock, "stat /run/lock/iscsi/lock.write"},
        {"initiators", &OnceForTheNode, &LookAtInitiators, "cat /etc/iscsi/initiatorname.iscsi"},
        {"key", &OnceForTheNode, &LookAtKey, nullptr},
        {"own files", &OnceForTheNode, &LookAtOwnFiles, nullptr},
        {"space", &OnceForTheNode, &LookAtSpace, "df"},
        {"product roots", &OnceForTheNode, &LookAtOtherRoots, nullptr},
        {"environment", &OnceForTheArray, &LookAtEnvironment, nullptr},
        {"management address", &EachManagementAddress, &LookAtManagementAddress, nullptr},
        {"serial numbers", &OnceForTheArray, &LookAtSerials, nullptr},
        {"FC ports", &OnceForTheNode, &LookAtFcPorts, "cat /sys/class/fc_host/host*/port_state"},
        {"FC ports on the array", &OnceForTheArray, &LookAtFcPortsOnTheArray, nullptr},
        {"service addresses", &OnceForTheArray, &LookAtServiceAddresses, "iscsiadm -m session"},
        {"hosts", &OnceForTheArray, &LookAtHostsOfInitiators, nullptr},
        {"record", &OnceForTheArray, &LookAtRecord, nullptr},
        {"rate guard", &OnceForTheArray, &LookAtRateGuard, nullptr},
    };
    // clang-format on
    return PROBES;
}

std::vector<Told> Examine(const std::shared_ptr<const Patient>& patient)
{
    struct Look {
        const Probe* probe;
        std::string part;
        std::shared_ptr<Findings> findings;
    };
    TeachLocaleToNarrow();
    std::vector<Look> looks;
    std::vector<std::function<void()>> works;
    for (const Probe& probe : AllProbes()) {
        for (const std::string& part : probe.parts(*patient)) {
            const Look look = {&probe, part, std::make_shared<Findings>()};
            looks.push_back(look);
            works.emplace_back(
                [patient, look] { *look.findings = LookOrTellWhyNot(*look.probe, *patient, look.part); });
        }
    }
    const std::vector<bool> haveEnded = WhichEndWithin(LIMIT_OF_A_PROBE, std::move(works));
    std::vector<Told> all;
    for (std::size_t i = 0; i < looks.size(); ++i) {
        const Look& look = looks[i];
        for (const Finding& finding :
             haveEnded[i] ? *look.findings : Findings{TooLate(*look.probe, look.part, WayToSeeByHand(*look.probe))}) {
            all.push_back({look.probe->name, finding});
        }
    }
    std::stable_sort(all.begin(), all.end(), [](const Told& left, const Told& right) {
        return left.finding.severity > right.finding.severity;
    });
    return all;
}

} // namespace Doctor

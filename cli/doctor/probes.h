#ifndef PRODUCT_STORAGE_CLI_DOCTOR_PROBES_H
#define PRODUCT_STORAGE_CLI_DOCTOR_PROBES_H

#include "cli/doctor/finding.h"
#include "cli/doctor/patient.h"

#include <memory>
#include <string>
#include <vector>

namespace Doctor {

/// One thing that is looked at, on a thread of its own, by whatever takes less than five seconds. Nothing is changed,
/// on the node or on the array.
struct Probe {
    const char* name; ///< in findings, for scripts, too

    /// What it is done for, each by itself: {""} for the node, the environment's addresses. Asks nobody.
    std::vector<std::string> (*parts)(const Patient& patient);

    /// Throws Failure where it cannot look, and NoLoginInTime.
    Findings (*look)(const Patient& patient, const std::string& part);

    const char* byHand; ///< where it does not come to an end: the line that shows what it waits for; null for none
};

/// All of them, in the order in which findings are told: from the node to the array.
const std::vector<Probe>& AllProbes();

/// A finding with the probe that found it.
struct Told {
    const char* probe;
    Finding finding;
};

/// Runs all probes side by side, each for five seconds at most: one that is not done by then is a finding. Errors come
/// first, each kind in the order of the table.
std::vector<Told> Examine(const std::shared_ptr<const Patient>& patient);

/// Of what keeps this node from its sessions: where it has FC ports, iSCSI is needed only when none of them is online.
Severity SeverityOfIscsi();

// ---- the probes, by what they look at

Findings LookAtIscsiTools(const Patient& patient, const std::string& part);
Findings LookAtIscsiLock(const Patient& patient, const std::string& part);
Findings LookAtInitiators(const Patient& patient, const std::string& part);

Findings LookAtKey(const Patient& patient, const std::string& part);
Findings LookAtOwnFiles(const Patient& patient, const std::string& part);
Findings LookAtSpace(const Patient& patient, const std::string& part);
Findings LookAtOtherRoots(const Patient& patient, const std::string& part);

Findings LookAtEnvironment(const Patient& patient, const std::string& part);
Findings LookAtManagementAddress(const Patient& patient, const std::string& address);

Findings LookAtSerials(const Patient& patient, const std::string& part);
Findings LookAtFcPorts(const Patient& patient, const std::string& part);
Findings LookAtFcPortsOnTheArray(const Patient& patient, const std::string& part);
Findings LookAtServiceAddresses(const Patient& patient, const std::string& part);
Findings LookAtHostsOfInitiators(const Patient& patient, const std::string& part);
Findings LookAtRecord(const Patient& patient, const std::string& part);
Findings LookAtRateGuard(const Patient& patient, const std::string& part);

} // namespace Doctor

#endif

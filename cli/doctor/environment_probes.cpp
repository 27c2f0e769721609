#include "cli/array/environment_check.h"
#include "cli/array/environment_file.h"
#include "cli/console/remedies.h"
#include "cli/doctor/environment_edits.h"
#include "cli/doctor/probes.h"
#include "cli/node/node_key.h"

namespace Doctor {

Findings LookAtEnvironment(const Patient& patient, const std::string& /*part*/)
{
    bool isOfAnotherKey = false;
    const bool isKeyUsable = NodeKey::LookAt().problem.empty(); // else the key's finding says it all
    const EnvironmentFindings found = CheckEnvironment(patient.environmentText, [&](const std::string& cipher) {
        std::string problem = isKeyUsable ? NodeKey::ProblemOfCipher(cipher) : "";
        isOfAnotherKey = isOfAnotherKey || !problem.empty();
        return problem;
    });
    const std::string name = "environment " + NameOfEnvironment(patient.environmentPath) + ": ";
    Findings findings;
    for (const std::string& fault : found.faults) {
        const bool isPassword = isOfAnotherKey && fault.find("cannot be decrypted") != std::string::npos;
        findings.push_back({Severity::Error, name + fault, RemedyFor(name + fault, ExitCode::Unusable),
                            isPassword ? Edit::WithNewPassword(patient, false) : "", ExitCode::Unusable});
    }
    for (const std::string& warning : found.warnings) {
        findings.push_back({Severity::Warning, name + warning,
                            "see zavctl-environment(5) for what an environment holds", "", ExitCode::Unusable});
    }
    return findings;
}

} // namespace Doctor

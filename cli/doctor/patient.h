#ifndef PRODUCT_STORAGE_CLI_DOCTOR_PATIENT_H
#define PRODUCT_STORAGE_CLI_DOCTOR_PATIENT_H

#include "cli/array/environment_file.h"
#include "cli/doctor/logins.h"
#include "common/framework/product_messages.pb.h"

#include <memory>
#include <string>
#include <utility>

namespace Doctor {

/// What all probes look at, each on a thread of its own.
struct Patient : std::enable_shared_from_this<Patient> {
    std::string environmentPath; ///< empty: no array is looked at
    std::string environmentText;
    EnvironmentPath env;   ///< empty where the text cannot be read as one
    mutable Logins logins; ///< locks for itself

    Patient(std::string path, std::string text, const EnvironmentPath& environment, Logins::Clock::time_point deadline)
        : environmentPath(std::move(path))
        , environmentText(std::move(text))
        , env(environment)
        , logins(NameOfEnvironment(environmentPath), environment, deadline)
    {
    }

    bool HasEnvironment() const { return !environmentPath.empty(); }
};

} // namespace Doctor

#endif

#ifndef ZAVSIM_FAULTS_FAULT_H
#define ZAVSIM_FAULTS_FAULT_H

#include <json/value.h>

#include <re2/re2.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace ZavSim {

struct FaultKind;

/// What is to go wrong, and with which requests. Of the members below `kind`, a fault has those that its kind takes.
struct Fault {
    const FaultKind* kind = nullptr; ///< a row of AllFaultKinds; never null in a fault that was read
    std::int64_t code = 0;
    std::string description;
    std::optional<int> result; ///< the form of the refusal, where a system has several
    Json::Value answer;
    int status = 0;
    std::chrono::milliseconds duration{0};
    std::int64_t bytes = 0;

    std::string method;                     ///< empty: any
    std::string targetText;                 ///< searched in the request's target; empty: any
    std::shared_ptr<const re2::RE2> target; ///< null: any
    std::uint64_t skip = 0;                 ///< how many requests that it concerns are let through before
    std::uint64_t count = 1;                ///< how many requests; 0: until it is taken away
    double probability = 1;                 ///< of hitting one request that matches
};

/// Reads {"kind", "method", "target", "skip", "count", "probability"} and the members that the kind takes. Throws
/// std::invalid_argument naming the member that is missing, unknown, malformed or out of place.
Fault FaultFromJson(const Json::Value& value);

/// The same from JSON text.
Fault FaultFromText(const std::string& text);

Json::Value FaultToJson(const Fault& fault);

} // namespace ZavSim

#endif

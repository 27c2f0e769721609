#ifndef ZAVSIM_FAULTS_FAULT_H
#define ZAVSIM_FAULTS_FAULT_H

#include <json/value.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <regex>
#include <string>

namespace ZavSim {

enum class FaultKind {
    Code,       ///< the envelope bears a code; the request is not carried out
    Answer,     ///< the body is a JSON value as given; the request is not carried out
    Status,     ///< an HTTP status; the request is not carried out
    Delay,      ///< the request is carried out, later
    Drop,       ///< the connection ends without an answer; the request is not carried out
    DropAnswer, ///< the same after the request was carried out
    Cut,        ///< the request is carried out; the connection ends in the middle of the body
    Garbage,    ///< the request is carried out; the body is not JSON
    Silent,     ///< no answer until the client goes away or the time is over, then as Drop
    NoCookie,   ///< the request is carried out; the answer sets no cookie
};

/// What is to go wrong, and with which requests.
struct Fault {
    FaultKind kind = FaultKind::Code;
    std::int64_t code = 0;                 ///< Code only
    std::string description;               ///< Code only
    std::optional<int> result;             ///< Code only: the form of the refusal, where a system has several
    Json::Value answer;                    ///< Answer only
    int status = 0;                        ///< Status only
    std::chrono::milliseconds duration{0}; ///< Delay, Silent; 0 with Silent: without end
    std::string method;                    ///< empty: any
    std::string targetText;                ///< searched in the request's target; empty: any
    std::regex target;
    std::uint64_t count = 1; ///< how many requests; 0: until it is taken away
    double probability = 1;  ///< of hitting one request that matches
};

/// Reads {"kind", "code", "description", "result", "answer", "status", "milliseconds", "method", "target", "count",
/// "probability"}. Throws std::invalid_argument naming the member that is missing, unknown, malformed or out of place.
Fault FaultFromJson(const Json::Value& value);

/// The same from JSON text.
Fault FaultFromText(const std::string& text);

Json::Value FaultToJson(const Fault& fault);

} // namespace ZavSim

#endif

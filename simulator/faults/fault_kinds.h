#ifndef ZAVSIM_FAULTS_FAULT_KINDS_H
#define ZAVSIM_FAULTS_FAULT_KINDS_H

#include "simulator/faults/fault.h"
#include "simulator/message/message.h"

#include <vector>

namespace ZavSim {

/// What becomes of a request that a fault hits.
enum class Treatment {
    CarriedOut,
    Refused, ///< the system tells the fault's code in its own form
    Ignored, ///< no system sees it
};

/// How long a request that a fault hits is left alone before. It ends when the client resets the connection; where it
/// has no end of its own, also when the client ends its sending.
enum class Pause {
    None,
    Duration,       ///< the fault's duration
    DurationOrEver, ///< the same; 0 is without end
};

/// A row of the table of faults, which is all that a kind of fault consists of.
struct FaultKind {
    const char* word;
    std::vector<std::string> needs; ///< members that a fault of this kind must have
    std::vector<std::string> takes; ///< members that it may have
    Treatment treatment;
    Pause pause;
    void (*change)(const Fault& fault, HttpAnswer& answer); ///< what it does to the answer; null for nothing
    const char* meaning;                                    ///< as the manual says it
};

const std::vector<FaultKind>& AllFaultKinds();

/// Throws std::invalid_argument naming the word when no kind has it.
const FaultKind& FaultKindOf(const std::string& word);

} // namespace ZavSim

#endif

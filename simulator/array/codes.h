#ifndef ZAVSIM_ARRAY_CODES_H
#define ZAVSIM_ARRAY_CODES_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZavSim {

/// Every code that the simulated array puts into its envelope. The first group are codes that clients of the array know
/// and act upon; the second group, from 0x41000001 up, are this simulator's own, for refusals that no client tells
/// apart.
enum class Code : std::int64_t {
    Success = 0,
    SessionLapsed = -401,
    HostNotInHostGroup = 1073745412,
    HostGroupNotInMappingView = 1073804552,
    LunGroupNotInMappingView = 1073804554,
    LunGroupGone = 1077936861,
    HostGone = 1077937498,
    HostGroupGone = 1077937500,
    NotInLunGroup = 1077948996,
    InitiatorNotOnHost = 1077950342,
    MappingViewGone = 1077951819,

    LoginRefused = 0x41000001,
    SessionLimitReached,
    DeviceUnknown,
    ResourceUnknown,
    ParameterBad,
    NameTaken,
    LunGone,
    SnapshotGone,
    InitiatorGone,
    InitiatorExists,
    InitiatorHasHost,
    AlreadyAssociated,
    HostInHostGroup,
    HostHasInitiators,
    HostGroupMapped,
    HostGroupNotEmpty,
    LunGroupMapped,
    LunGroupNotEmpty,
    MappingViewNotEmpty,
    MappingViewHasHostGroup,
    MappingViewHasLunGroup,
    PageTooWide,
    StateNotSaved,
    TargetsNotChanged,
};

struct CodeInfo {
    Code code;
    const char* name;        ///< as the enumeration has it
    const char* description; ///< what the envelope's description begins with
};

/// All codes in the enumeration's order, Success first.
const std::vector<CodeInfo>& AllCodes();

const CodeInfo& InfoOf(Code code);

/// The array says no. Thrown by the operations before they have changed anything.
class Refusal : public std::runtime_error {
public:
    /// `detail` names the object or parameter that it is about; it follows the code's description.
    Refusal(Code code, const std::string& detail);

    Code GetCode() const noexcept { return m_code; }

private:
    Code m_code;
};

} // namespace ZavSim

#endif

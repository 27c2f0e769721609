#ifndef ZAVSIM_CLUSTER_CLUSTER_CODES_H
#define ZAVSIM_CLUSTER_CLUSTER_CODES_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZavSim {

/// Every code that the simulated cluster gives. The first group are codes that clients of the cluster know and act
/// upon; the second group, from 0x42000001 up, are this simulator's own, for refusals that no client tells apart.
enum class ClusterCode : std::int64_t {
    Success = 0,
    SessionLapsed = -401,
    SystemBusy = 1077949006, ///< by a fault only: nothing makes the simulator busy

    LoginRefused = 0x42000001,
    SessionLimitReached,
    ResourceUnknown,
    ParameterBad,
};

/// The "result" of a V1 envelope.
enum class V1Result {
    Success = 0,
    Details = 1, ///< a list "detail" of reasons, whose codes are numbers
    Plain = 2,   ///< one reason beside "result", whose code is a text
};

struct ClusterCodeInfo {
    ClusterCode code;
    const char* name;        ///< as the enumeration has it
    const char* description; ///< what the envelope's description begins with
    V1Result v1Result;       ///< in which form V1 tells it
};

/// All codes in the enumeration's order, Success first.
const std::vector<ClusterCodeInfo>& AllClusterCodes();

const ClusterCodeInfo& InfoOf(ClusterCode code);

/// The cluster says no.
class ClusterRefusal : public std::runtime_error {
public:
    /// `detail` names what it is about; it follows the code's description.
    ClusterRefusal(ClusterCode code, const std::string& detail);

    ClusterCode GetCode() const noexcept { return m_code; }

private:
    ClusterCode m_code;
};

} // namespace ZavSim

#endif

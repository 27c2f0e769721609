#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_SIMULATED_ARRAY_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_SIMULATED_ARRAY_H

#include "simulator/array/array_service.h"
#include "tests/simulation/messages.h"
#include "tests/simulation/shared_page.h"

#include <map>
#include <set>
#include <string>

namespace Simulation {

/// The array that the node is prepared on: the simulator's own, without its wire. Somebody else's objects are on it.
class SimulatedArray {
public:
    static constexpr const char* ADDRESS = "10.0.0.1";
    static constexpr const char* PORTAL = "10.0.0.2";
    static constexpr const char* SERIAL = "210SIMULATED";
    static constexpr const char* NODE_IQN = "iqn.2020-01.local.simulated:01";

    explicit SimulatedArray(const SharedPage& page);

    /// Carries a request out: {"request", method, url, body, seconds, header, value...}.
    ZavSim::HttpAnswer Handle(const Message& request);

    /// The same, refused with this code; nothing is carried out.
    ZavSim::HttpAnswer Refuse(const Message& request, int code, const std::string& description);

    // What somebody with the array's own console does. `choice` draws what is concerned; nothing when there is nothing.
    void DeleteOneOfOurs(std::uint64_t choice);
    void UntieOneOfOurs(std::uint64_t choice);
    void MapALun();

    /// Empty when the node's chain stands as `record`, the device-information file's text, names it; else what is
    /// wrong.
    std::string ProblemOfChain(const std::string& record);

    /// Empty when there is one object of ours of each kind; else what is wrong.
    std::string ProblemOfCount();

    /// Empty, or which of our objects there are.
    std::string Ours();

    /// Empty, or which of our objects neither the record nor the journal names.
    std::string Nameless(const std::string& record, const std::string& journal);

    /// Empty, or that somebody else's objects are not as they were.
    std::string ProblemOfForeign();

    std::size_t SessionCount();

    /// The tokens that any answer bore so far.
    const std::set<std::string>& Tokens() const noexcept { return m_tokens; }

private:
    static ZavSim::HttpRequest ToRequest(const Message& request);
    std::string Foreign();

    ZavSim::ArraySystem m_system;
    ZavSim::ArrayService m_service;
    std::string m_foreign; ///< as it was at the beginning
    std::set<std::string> m_tokens;
};

} // namespace Simulation

#endif

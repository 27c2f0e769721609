// Parts of the system that are left out when the simulation is to show that it would miss them. The linker sends all
// calls of these operations here.

#include "cli/preparation/mapping_chain.h"
#include "framework/san/array_session.h"
#include "tests/simulation/process.h"

using Framework::ArraySession;
using Simulation::Planted;
namespace Process = Simulation::Process;

// The operations' own symbols, as the linker's --wrap bends them; an operation's object is its first parameter.
#define MEND "_ZN12MappingChain10MendOrFailEv"
#define CALL                                                                                                           \
    "_ZN9Framework12ArraySession4CallERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES8_S8_RKSt3mapIS6_S6_"     \
    "St4lessIS6_ESaISt4pairIS7_S6_EEE"

using Members = ArraySession::Members;

void RealMend(MappingChain* chain) __asm__("__real_" MEND);
void WrappedMend(MappingChain* chain) __asm__("__wrap_" MEND);
Json::Value RealCall(ArraySession* session, const std::string& what, const std::string& method,
                     const std::string& resource, const Members& body) __asm__("__real_" CALL);
Json::Value WrappedCall(ArraySession* session, const std::string& what, const std::string& method,
                        const std::string& resource, const Members& body) __asm__("__wrap_" CALL);

__attribute__((visibility("default"))) void WrappedMend(MappingChain* chain)
{
    if (!Process::Lacks(Planted::NoChain)) {
        RealMend(chain);
    }
}

// Without settling, an answer that is lost counts as a refusal.
__attribute__((visibility("default"))) Json::Value WrappedCall(ArraySession* session, const std::string& what,
                                                               const std::string& method, const std::string& resource,
                                                               const Members& body)
{
    if (!Process::Lacks(Planted::NoSettling)) {
        return RealCall(session, what, method, resource, body);
    }
    try {
        return RealCall(session, what, method, resource, body);
    } catch (const Framework::ArrayUnsettled& error) {
        throw Framework::ArrayRefusal(error.what());
    }
}

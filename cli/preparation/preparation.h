#ifndef PRODUCT_STORAGE_CLI_PREPARATION_PREPARATION_H
#define PRODUCT_STORAGE_CLI_PREPARATION_PREPARATION_H

#include "cli/array/array_login.h"
#include "cli/console/explanation.h"
#include "cli/console/log_tail.h"
#include "common/framework/product_messages.pb.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// This node prepared on the arrays of environments, one round at a time.
namespace Preparation {

/// One array to prepare this node on.
struct Target {
    std::string path;   ///< of the environment
    std::string name;   ///< as it is told
    std::string inputs; ///< what the login goes by, as RefusedLogins::InputsOf told before `env` was read
    EnvironmentPath env;
    std::unique_ptr<ArrayLogin> login;  ///< none until it succeeded
    std::optional<Explanation> refusal; ///< why it is held back: neither logged in nor prepared
};

/// What is wanted of a round.
struct Wishes {
    bool adopts = true;         ///< a host that holds this node's initiator and was not made here may be used
    bool tellsUnchanged = true; ///< also objects that stood before are told
};

/// What came of a round over all arrays.
struct Outcome {
    std::vector<ZavMapInfo> infos;                 ///< of the arrays on which the library did its work
    std::map<const Target*, Explanation> failures; ///< why others are not rightly prepared

    /// Of so many arrays: Partly where some are prepared and some not.
    ExitCode Code(std::size_t targets) const;
};

/// Logs in where nobody is logged in yet. One that fails does not keep the others from theirs; one that is held back
/// fails as it did before.
Outcome LogIntoAll(std::vector<Target>& targets, LogTail& log);

/// Prepares the node wherever somebody is logged in, sees that the array holds what it should, and tells of each object
/// where it comes from. Adds to `outcome`.
void PrepareAll(const std::vector<Target>& targets, const Wishes& wishes, LogTail& log, Outcome& outcome);

} // namespace Preparation

#endif

#ifndef PRODUCT_STORAGE_CLI_PLAN_INIT_PLAN_H
#define PRODUCT_STORAGE_CLI_PLAN_INIT_PLAN_H

#include "cli/array/array_login.h"
#include "cli/console/failure.h"

#include <optional>
#include <string>
#include <vector>

/// One thing that `zavctl init` would do, or find done.
struct PlanStep {
    enum class Place { Array, Node, Record };
    enum class Action {
        Make,   ///< an object that is not there; an iSCSI session
        Join,   ///< into or onto what it belongs to
        Mend,   ///< a link that is missing between objects that stand
        Adopt,  ///< an object that this node did not make is used
        Reuse,  ///< it stands, and is used
        Enter,  ///< into the record
        Forget, ///< out of the record
        Remove, ///< what an earlier run left
        Leave,  ///< it stays as it is, and is not used
    };

    Place place = Place::Array;
    Action action = Action::Make;
    std::string kind; ///< "host"; "iSCSI session"; "record entry"
    std::string id;   ///< PlannedArray::NEW of what has none yet; of a record entry its name
    std::string name; ///< of a record entry what it will be
    std::string into; ///< the kind of what it is joined with; empty without
    std::string intoId;
    std::string why;

    /// Whether anything is another way behind it.
    bool Changes() const noexcept;
};

/// "make".
const char* WordOf(PlanStep::Action action) noexcept;

/// "array".
const char* WordOf(PlanStep::Place place) noexcept;

/// What `zavctl init` would do now.
struct InitPlan {
    std::vector<PlanStep> steps;
    std::optional<Failure> end; ///< why the node would not be rightly prepared behind them; none where it would

    bool ChangesAnything() const;
};

/// Runs the library's own steps, and zavctl's behind them, on the array as it is, in whose place stands one that only
/// plans. Nothing is changed on the array and on this node. Throws Failure when array, record or journal cannot be
/// read, and where init would refuse before it changes anything.
InitPlan PlanInit(const ArrayLogin& login, bool adopts);

#endif

#include "cli/picture/drift.h"

#include "cli/array/array_login.h"
#include "cli/console/explanation.h"
#include "cli/console/report.h"

#include <boost/algorithm/string/join.hpp>

Failure DriftOf(const NodePicture& picture, const ArrayLogin& login)
{
    return {ExitCode::Drift,
            login.Device().url + ": this node is not rightly prepared: " + boost::join(picture.faults, "; ")};
}

ExitCode AnswerInJson(Json::Value answer, const NodePicture& picture, const ArrayLogin& login)
{
    if (picture.faults.empty()) {
        Report::Json(answer);
        return ExitCode::Done;
    }
    const Explanation explanation = Explain(DriftOf(picture, login), {});
    answer["error"] = ToJson(explanation);
    Report::Json(answer);
    Tell(explanation);
    return explanation.exit;
}

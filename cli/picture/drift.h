#ifndef PRODUCT_STORAGE_CLI_PICTURE_DRIFT_H
#define PRODUCT_STORAGE_CLI_PICTURE_DRIFT_H

#include "cli/console/failure.h"
#include "cli/picture/node_picture.h"

#include <json/value.h>

class ArrayLogin;

/// How a command ends that found this node not as it was prepared: all faults of the picture in one line.
Failure DriftOf(const NodePicture& picture, const ArrayLogin& login);

/// Prints `answer`, one object for scripts: where the picture has faults with the failure in it, which people are told
/// as any is. Gives what the command ends with.
ExitCode AnswerInJson(Json::Value answer, const NodePicture& picture, const ArrayLogin& login);

#endif

#ifndef ZAVSIM_HTTP_MASKING_H
#define ZAVSIM_HTTP_MASKING_H

#include "simulator/http/message.h"

#include <json/value.h>

#include <string>

namespace ZavSim {

/// What may be shown of a request's body: its JSON with the values of passwords, tokens and cookies replaced, at any
/// depth; of a body that is not JSON only its length. Null for an empty body.
Json::Value MaskBody(const HttpRequest& request);

/// The target with such values replaced in its query.
std::string MaskTarget(const std::string& target);

} // namespace ZavSim

#endif

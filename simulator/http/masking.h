#ifndef ZAVSIM_HTTP_MASKING_H
#define ZAVSIM_HTTP_MASKING_H

#include "simulator/message/message.h"

#include <string>

namespace ZavSim {

/// How much of one body is shown.
constexpr std::size_t SHOWN_BODY_BYTES = 16384;

/// What may be shown of a request's body, as the text of a JSON value: its JSON with the values of passwords, tokens
/// and cookies replaced, at any depth; of a body that is not JSON, or too long, only its length. Empty for an empty
/// body.
std::string MaskBody(const HttpRequest& request);

/// The same of an answer's body, as text: its beginning when it is too long. Text that is no sound JSON shows nothing
/// of a value that follows the name of a secret, either.
std::string MaskAnswer(const std::string& body);

/// The target with such values replaced in its query.
std::string MaskTarget(const std::string& target);

} // namespace ZavSim

#endif

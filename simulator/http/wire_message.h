#ifndef ZAVSIM_HTTP_WIRE_MESSAGE_H
#define ZAVSIM_HTTP_WIRE_MESSAGE_H

#include "simulator/message/message.h"

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

namespace ZavSim {

using WireRequest = boost::beast::http::request<boost::beast::http::string_body>;
using WireResponse = boost::beast::http::response<boost::beast::http::string_body>;

/// What a request was, apart from where it came from. Takes its body.
HttpRequest FromWire(WireRequest& request);

/// The answer as HTTP has it; `request` tells version, and whether the connection is kept. Takes the answer's body.
WireResponse ToWire(HttpAnswer& answer, const WireRequest& request);

/// The bytes of the response that the delivery lets out.
std::string BytesOf(const WireResponse& response, const Delivery& delivery);

/// The head of an answer whose length nobody knows: it ends with the connection.
std::string HeadOfStream(WireResponse& response);

/// True when the answer leaves as it is.
bool IsPlain(const Delivery& delivery);

} // namespace ZavSim

#endif

#ifndef ZAVSIM_HTTP_COMPRESSION_H
#define ZAVSIM_HTTP_COMPRESSION_H

#include "simulator/message/message.h"

namespace ZavSim {

/// True when the client's Accept-Encoding allows gzip: by its name or by '*', and not with a quality of 0.
bool AcceptsGzip(const HttpRequest& request);

/// Compresses the answer's body when the client allows it, and says so in the headers and to the journal. Throws
/// std::runtime_error when there is no memory for it.
void CompressIfAsked(const HttpRequest& request, HttpAnswer& answer);

} // namespace ZavSim

#endif

#ifndef ZAVSIM_MESSAGE_HTTP_DATE_H
#define ZAVSIM_MESSAGE_HTTP_DATE_H

#include <chrono>
#include <string>

namespace ZavSim {

/// The time as a Date header has it, so much ahead of this machine's: "Sun, 06 Nov 1994 08:49:37 GMT".
std::string HttpDate(std::chrono::milliseconds ahead = {});

} // namespace ZavSim

#endif

#ifndef ZAVSIM_STANDIN_PORTAL_H
#define ZAVSIM_STANDIN_PORTAL_H

#include <chrono>
#include <optional>
#include <string>

namespace ZavSimNode {

/// Where a target listens: a numeric address, IPv6 without brackets, and a port.
struct Portal {
    std::string host;
    int port = 3260;

    bool operator==(const Portal& other) const { return host == other.host && port == other.port; }

    std::string ForUrl() const;   ///< "10.0.0.1:3260", "[fd00::1]:3260"
    std::string ForLines() const; ///< "10.0.0.1,3260", as iscsiadm's login lines have it
};

/// One of "10.0.0.1", "10.0.0.1:3260", "fd00::1", "[fd00::1]", "[fd00::1]:3260". Nothing for anything else.
std::optional<Portal> ParsePortal(const std::string& text);

/// Whether the portal accepts a TCP connection within the time: 0, or the error number why it does not.
int TryConnect(const Portal& portal, std::chrono::milliseconds limit);

} // namespace ZavSimNode

#endif

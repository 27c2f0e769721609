#ifndef ZAVSIM_HTTP_LISTEN_ADDRESS_H
#define ZAVSIM_HTTP_LISTEN_ADDRESS_H

#include <string>

namespace ZavSim {

/// Where a listener stands: http or https, a numeric address, a port.
struct ListenAddress {
    bool tls = true;
    std::string host; ///< "127.0.0.1" or "::1", without brackets
    int port = 0;     ///< 0: any that is free

    std::string Url() const;
};

/// Reads "https://127.0.0.1:8088" or "http://[::1]:8088". Throws std::invalid_argument naming the text and what is
/// wrong.
ListenAddress ParseListenAddress(const std::string& text);

} // namespace ZavSim

#endif

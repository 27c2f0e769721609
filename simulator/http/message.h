#ifndef ZAVSIM_HTTP_MESSAGE_H
#define ZAVSIM_HTTP_MESSAGE_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ZavSim {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// One request as it came in. Names of headers compare without regard to case.
struct HttpRequest {
    std::string method;
    std::string target; ///< path and query as sent, still percent-encoded
    HeaderList headers; ///< repeated ones one by one
    std::string body;
    std::string listener;         ///< URL of the address that it came in on
    std::string peer;             ///< the client's address, without port
    std::uint64_t connection = 0; ///< counts accepted connections of the process from 1

    std::vector<std::string> HeaderValues(const std::string& name) const;
};

enum class Delivery {
    Whole,
    Cut,    ///< the connection ends in the middle of the body
    Nothing ///< the connection ends without an answer
};

struct HttpAnswer {
    int status = 200;
    HeaderList headers;
    std::string contentType = "application/json";
    std::string body;
    Delivery delivery = Delivery::Whole;

    // For the journal only.
    std::optional<std::int64_t> code; ///< the envelope's code
    std::string encoding;             ///< of the body; empty: as it is
    std::uint64_t session = 0;        ///< 0: none
};

} // namespace ZavSim

#endif

#ifndef ZAVSIM_MESSAGE_MESSAGE_H
#define ZAVSIM_MESSAGE_MESSAGE_H

#include <json/value.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ZavSim {

class EventQueue;

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

    std::optional<Json::Value> json; ///< the body, when it is JSON; set by ParseBody
    std::string jsonProblem;         ///< why it is none; empty without a body

    /// Reads the body as JSON, once for all who want it so.
    void ParseBody();

    std::vector<std::string> HeaderValues(const std::string& name) const;
};

/// How an answer goes over the wire. The default is how it should.
struct Delivery {
    enum class Part { All, Half, None };
    enum class End {
        AsAgreed, ///< the connection is kept or closed, as client and server told each other
        Close,    ///< with TLS's goodbye
        Break,    ///< without it: the peer sees the transport end
        Reset,    ///< the peer sees the transport reset; what it has not read may be lost to it
    };

    Part part = Part::All; ///< of head and body; of Half, head and half the body
    End end = End::AsAgreed;
    std::int64_t lengthError = 0;              ///< announced length, which is 0 at least, less the real one
    std::size_t pieceBytes = 0;                ///< 0: in one go
    std::chrono::milliseconds pieceInterval{}; ///< between two pieces
};

struct HttpAnswer {
    int status = 200;
    HeaderList headers;
    std::string contentType = "application/json";
    std::string body;
    Delivery delivery;
    std::shared_ptr<EventQueue> events; ///< sent behind the body as they come, until the client leaves; null: none

    // For the journal only.
    std::optional<std::int64_t> code; ///< the envelope's code
    std::string encoding;             ///< of the body; empty: as it is
    std::uint64_t session = 0;        ///< 0: none
};

/// A line for people.
inline HttpAnswer PlainAnswer(int status, const std::string& text)
{
    HttpAnswer answer;
    answer.status = status;
    answer.contentType = "text/plain";
    answer.body = text + "\n";
    return answer;
}

} // namespace ZavSim

#endif

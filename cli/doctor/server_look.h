#ifndef PRODUCT_STORAGE_CLI_DOCTOR_SERVER_LOOK_H
#define PRODUCT_STORAGE_CLI_DOCTOR_SERVER_LOOK_H

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace Doctor {

/// What a look at a server found. Nothing of the certificate is verified: a login does that.
struct ServerLook {
    /// How far it came.
    enum class Stage { Nowhere, Connected, Secured, Answered };
    Stage stage = Stage::Nowhere;
    std::string problem; ///< why it came no further; empty when an answer came

    std::optional<std::time_t> certificateBegin;
    std::optional<std::time_t> certificateEnd;
    std::optional<std::int64_t> secondsAhead; ///< the server's clock, by the answer's Date; to a second or two
};

/// Connects, secures the connection where `isTls`, and asks for the head of "/", which concerns nobody. `host` is bare.
/// It may take `limit`; how long the name takes to be found is the resolver's business.
ServerLook LookAtServer(const std::string& host, const std::string& port, bool isTls, std::chrono::milliseconds limit);

} // namespace Doctor

#endif

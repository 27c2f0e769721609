#ifndef PRODUCT_STORAGE_FRAMEWORK_SAN_ARRAY_SESSION_H
#define PRODUCT_STORAGE_FRAMEWORK_SAN_ARRAY_SESSION_H

#include "common/framework/http_client.h"

#include <json/value.h>

#include <chrono>
#include <map>
#include <stdexcept>
#include <string>

namespace Framework {

/// An operation of the array failed. The text names the operation, its object and the cause.
class ArrayError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The array itself answered, and refused: nothing was done.
class ArrayRefusal : public ArrayError {
public:
    using ArrayError::ArrayError;
};

/// Nothing is settled yet: the array is busy, or gave no answer that can be read or that says what became of the
/// request, and may have done what it was asked. Worth another try, once it is known what stands.
class ArrayUnsettled : public ArrayError {
public:
    using ArrayError::ArrayError;
};

/// A management session that a login opened, as the SAN handlers use it. It is neither opened nor closed here. One
/// thread at a time. Token and cookie are wiped when it is released or attached to another session.
class ArraySession {
public:
    static constexpr unsigned int STANDARD_TIMEOUT_SECONDS = 90;

    /// The members of a request's JSON body, all texts.
    using Members = std::map<std::string, std::string>;

    ArraySession() = default;
    ArraySession(const ArraySession&) = delete;
    ArraySession& operator=(const ArraySession&) = delete;
    ~ArraySession();

    /// `server` is "scheme://host:port".
    void Attach(const std::string& server, const std::string& deviceId, const std::string& token,
                const std::string& cookie);

    const std::string& DeviceId() const noexcept { return m_deviceId; }

    /// From now on the requests of Call end by then, but have a second each: STANDARD_TIMEOUT_SECONDS at most.
    void EndBy(std::chrono::steady_clock::time_point end) noexcept { m_end = end; }

    /// Wipes what Attach was given; calls fail again.
    void Detach() noexcept;

    /// Sends one request and returns the "data" of its answer, null when there is none. `resource` is what follows the
    /// device's part of the URL. `what` names operation and object, as in `create host "node1"`. No body is sent when
    /// `body` is empty. Throws ArrayRefusal where the array's envelope says so, ArrayUnsettled, and ArrayError for an
    /// HTTP status that is neither.
    Json::Value Call(const std::string& what, const std::string& method, const std::string& resource,
                     const Members& body = {});

private:
    unsigned int SecondsLeft() const;

    boost::shared_ptr<QEN::IHttpClient> m_client;
    std::string m_deviceId;
    std::chrono::steady_clock::time_point m_end = std::chrono::steady_clock::time_point::max();
    std::string m_baseUrl; // up to the resource; empty before Attach
    std::string m_token;
    std::string m_cookie;
};

} // namespace Framework

#endif

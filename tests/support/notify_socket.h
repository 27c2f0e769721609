#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_NOTIFY_SOCKET_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_NOTIFY_SOCKET_H

#include "base/descriptor.h"

#include <string>

/// What a service manager listens at for how its services do.
class NotifySocket {
public:
    /// A path, or a name behind "@".
    explicit NotifySocket(std::string address);

    /// As a service gets it, in NOTIFY_SOCKET.
    const std::string& Address() const noexcept { return m_address; }

    /// The next message. Throws std::runtime_error when none comes for half a minute.
    std::string Receive() const;

    /// The next message that has this line; others are passed over.
    std::string ReceiveUntil(const std::string& line) const;

private:
    const std::string m_address;
    const Base::Descriptor m_socket;
};

#endif

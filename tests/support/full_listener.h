#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_FULL_LISTENER_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_FULL_LISTENER_H

#include "base/descriptor.h"

#include <string>
#include <vector>

/// A port on the loopback at which nobody answers: nobody takes from its queue, which is full unless it is to be long.
class FullListener {
public:
    enum class Queue { Full, Long };

    /// Port 0: any that is free.
    explicit FullListener(const std::string& address = "127.0.0.1", int port = 0, Queue queue = Queue::Full);

    std::string Url() const { return "http://127.0.0.1:" + std::to_string(m_port); }

private:
    Base::Descriptor m_listener;
    int m_port = 0;
    std::vector<Base::Descriptor> m_waiting; // connections that fill the queue
};

#endif

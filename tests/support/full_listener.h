#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_FULL_LISTENER_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_FULL_LISTENER_H

#include <string>
#include <vector>

/// A port on the loopback at which nobody answers: nobody takes from its queue, which is full unless it is to be long.
class FullListener {
public:
    enum class Queue { Full, Long };

    /// Port 0: any that is free.
    explicit FullListener(const std::string& address = "127.0.0.1", int port = 0, Queue queue = Queue::Full);
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;
    ~FullListener();

    std::string Url() const { return "http://127.0.0.1:" + std::to_string(m_port); }

private:
    int m_listener = -1;
    int m_port = 0;
    std::vector<int> m_waiting; // connections that fill the queue
};

#endif

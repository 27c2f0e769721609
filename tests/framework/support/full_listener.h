#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_FULL_LISTENER_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_FULL_LISTENER_H

#include <string>
#include <vector>

/// A port on the loopback at which nobody answers: its queue is full, and nobody takes from it.
class FullListener {
public:
    FullListener();
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

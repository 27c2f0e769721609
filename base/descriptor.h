#ifndef PRODUCT_STORAGE_BASE_DESCRIPTOR_H
#define PRODUCT_STORAGE_BASE_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace Base {

/// Owns one file descriptor; -1 is none.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) noexcept
        : m_descriptor(descriptor)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_descriptor(other.Release())
    {
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor); // what was held is closed with `other`
        return *this;
    }
    ~Descriptor() { Close(); }

    int Get() const noexcept { return m_descriptor; }
    bool IsOpen() const noexcept { return m_descriptor >= 0; }
    void Close() noexcept
    {
        if (const int descriptor = Release(); descriptor >= 0) {
            ::close(descriptor);
        }
    }
    int Release() noexcept { return std::exchange(m_descriptor, -1); }

private:
    int m_descriptor;
};

} // namespace Base

#endif

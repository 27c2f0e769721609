#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_UNIQUE_FD_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace Framework {

/// Owns one file descriptor; -1 is none.
class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) noexcept
        : m_fd(fd)
    {
    }
    UniqueFd(UniqueFd&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    {
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~UniqueFd()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }

    int Get() const noexcept { return m_fd; }
    bool IsOpen() const noexcept { return m_fd >= 0; }
    void Close() noexcept { UniqueFd(std::exchange(m_fd, -1)); }

private:
    int m_fd;
};

} // namespace Framework

#endif

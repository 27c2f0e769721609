#ifndef ZAVSIM_BASE_FILE_IO_H
#define ZAVSIM_BASE_FILE_IO_H

#include <optional>
#include <string>

namespace ZavSim {

/// The whole file; nothing when there is no such file. Throws std::runtime_error naming the file and why when it is
/// there but cannot be read.
std::optional<std::string> ReadFileIfThere(const std::string& path);

/// Writes `text` under `path` by way of a temporary file beside it (`path` + ".new"), with the mode given and synced to
/// disk: whoever looks finds the old content or the new, never a part. Throws std::runtime_error naming the file and
/// why; the old file then still stands and no temporary file is left.
void WriteFileAtomically(const std::string& path, const std::string& text, unsigned mode);

/// Throws std::runtime_error made of `what`, `path` and the text of errno.
[[noreturn]] void ThrowErrno(const std::string& what, const std::string& path);

/// A file descriptor, closed at the end.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) noexcept
        : m_descriptor(descriptor)
    {
    }
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept
        : m_descriptor(other.Release())
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other) {
            Close();
            m_descriptor = other.Release();
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const noexcept { return m_descriptor; }
    bool IsOpen() const noexcept { return m_descriptor >= 0; }
    void Close() noexcept;
    int Release() noexcept;

private:
    int m_descriptor;
};

} // namespace ZavSim

#endif

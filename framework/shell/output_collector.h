#ifndef PRODUCT_STORAGE_FRAMEWORK_SHELL_OUTPUT_COLLECTOR_H
#define PRODUCT_STORAGE_FRAMEWORK_SHELL_OUTPUT_COLLECTOR_H

#include "base/descriptor.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Framework {

/// Collects what arrives in one non-blocking pipe, up to a limit; what is beyond it is read and dropped, so that the
/// writer goes on.
class OutputCollector {
public:
    OutputCollector(Base::Descriptor& pipe, std::size_t limit)
        : m_pipe(pipe)
        , m_limit(limit)
    {
    }

    /// Reads what is there once. False when there is nothing (more) to read now; the pipe is closed at its end.
    bool ReadOnce();

    /// Reads what the pipe holds by now, and no more than a pipe can hold: a process that the command left behind may
    /// write without an end.
    void ReadRest();

    bool IsOpen() const { return m_pipe.IsOpen(); }
    int Pipe() const { return m_pipe.Get(); }
    const std::string& Text() const { return m_text; }
    std::size_t DroppedBytes() const { return m_dropped; }

    /// The text's lines without their ends; the last may lack one. An empty text has none.
    std::vector<std::string> Lines() const;

private:
    Base::Descriptor& m_pipe;
    const std::size_t m_limit;
    std::string m_text;
    std::size_t m_dropped = 0;
};

} // namespace Framework

#endif

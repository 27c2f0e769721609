#ifndef PRODUCT_STORAGE_FRAMEWORK_SHELL_OUTPUT_COLLECTOR_H
#define PRODUCT_STORAGE_FRAMEWORK_SHELL_OUTPUT_COLLECTOR_H

#include "base/descriptor.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Framework {

/// How much is kept of what is written: as long as there is room for both.
struct OutputLimit {
    std::size_t bytes;
    std::size_t lines; ///< each takes more memory than its bytes
};

/// Collects what arrives in one non-blocking pipe, up to a limit; what is beyond it is read and dropped, so that the
/// writer goes on.
class OutputCollector {
public:
    OutputCollector(Base::Descriptor& pipe, const OutputLimit& limit)
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

    /// Whether it is for the lines that nothing more is kept.
    bool IsAtLineLimit() const { return m_lineEnds == m_limit.lines; }

    /// The text's lines without their ends; the last may lack one. An empty text has none.
    std::vector<std::string> Lines() const;

private:
    std::size_t Keep(std::string_view text);

    Base::Descriptor& m_pipe;
    const OutputLimit m_limit;
    std::string m_text;
    std::size_t m_lineEnds = 0; // in m_text
    std::size_t m_dropped = 0;
};

} // namespace Framework

#endif

#ifndef PRODUCT_STORAGE_FRAMEWORK_LOG_LOG_FILE_H
#define PRODUCT_STORAGE_FRAMEWORK_LOG_LOG_FILE_H

#include "base/descriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Framework {

/// The file that lines of the log are appended to. It is never emptied; other programs may append to it and rename it
/// meanwhile. What it throws, std::system_error, tells the reason alone. One thread at a time.
class LogFile {
public:
    /// Opens the file, which is made when it is missing, as is its folder; a line that is not finished ends there.
    explicit LogFile(const std::string& path);

    /// Appends `lines` as they are. They are in the file when this returns, whatever becomes of the process; after an
    /// error a part of them may be.
    void Append(std::string_view lines);

    /// What a path names.
    enum class Named {
        ThisFile,
        AnotherFile,
        Nothing,
    };

    /// Looks what `path` names by now, and how large this file has become where it is this one.
    Named LookAt(const std::string& path);

    /// Whether the file would have more than `limit` bytes with so many appended, as far as is known: what other
    /// programs append counts from the next look on. False while it is empty, and where it is no regular file.
    bool WouldExceed(std::uint64_t limit, std::uint64_t appended) const;

private:
    using Id = std::pair<dev_t, ino_t>;

    const Base::Descriptor m_file;
    Id m_id;
    bool m_isRegular = false;
    std::uint64_t m_bytes = 0;
};

/// Makes room for a new log file at `path`: x.log becomes x.1.log, that becomes x.2.log, up to the first number that no
/// file has; where `maxFiles` have one, the oldest goes. With no `maxFiles` the file at `path` goes itself. Throws
/// std::runtime_error naming the file that cannot be renamed and why; nothing but the oldest is gone then.
void SetLogFileAside(const std::string& path, std::uint64_t maxFiles);

} // namespace Framework

#endif

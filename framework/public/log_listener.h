#ifndef PRODUCT_STORAGE_FRAMEWORK_PUBLIC_LOG_LISTENER_H
#define PRODUCT_STORAGE_FRAMEWORK_PUBLIC_LOG_LISTENER_H

#include "common/framework/export.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace OpenFramework {

/// One line of the log as it was logged, before it has a form. No secret is in it.
struct LogLine {
    std::int64_t time = 0; ///< microseconds since the epoch
    int level = 0;         ///< a severity_level's number
    std::string operation; ///< the function that logged it
    int code = 0;
    std::string text; ///< as it was streamed: texts of an array may hold any character
};

/// Hears what the thread that made it logs, while it lives, whatever level the log file is at and whether there is one:
/// for a caller that wants to know why an operation failed. It holds a bounded number of lines; when there are more,
/// the oldest are lost. The thread that made it destroys it, and makes no other inside of its life; Take may be called
/// by any.
class PRODUCT_FRAMEWORK_API LogListener {
public:
    /// Lines of `level` and above are heard.
    explicit LogListener(int level, std::size_t most = 1000);
    LogListener(const LogListener&) = delete;
    LogListener& operator=(const LogListener&) = delete;
    ~LogListener();

    /// What was heard since the last call, oldest first.
    std::vector<LogLine> Take();

    struct Ear; ///< its own business

private:
    std::unique_ptr<Ear> m_ear;
};

} // namespace OpenFramework

#endif

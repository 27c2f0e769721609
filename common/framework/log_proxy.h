#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_LOG_PROXY_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_LOG_PROXY_H

#include "common/framework/export.h"

#include <iosfwd>
#include <memory>
#include <ostream>
#include <string_view>

/// How much a line matters, in the log's own numbers.
enum class severity_level : int {
    Periodic = 0, ///< housekeeping that repeats for ever
    Info = 1,     ///< progress
    Notice = 2,   ///< notable success, or a condition that is tolerated
    Warning = 3,  ///< a failure that was handled, throttling, a repeated action
    Error = 4,    ///< an error that reaches the caller
};

/// One log line: construct it, stream into it, and it is written when it is destroyed.
///
/// An integer streamed first is the line's code (0 for every line of the storage library); all that follows is its
/// text. A line below the configured level formats nothing.
/// Threads: one object belongs to one thread; any number of threads may log at once. Nothing is thrown: a line that
/// cannot be written is lost.
class PRODUCT_FRAMEWORK_API LogProxy {
public:
    /// `moduleName` and `functionName` must outlive the object; both are text that lives as long as the program.
    LogProxy(int level, std::string_view moduleName, unsigned long requestId, std::string_view functionName, int line);
    LogProxy(const LogProxy&) = delete;
    LogProxy& operator=(const LogProxy&) = delete;
    ~LogProxy();

    LogProxy& operator<<(int value);

    template <typename Value>
    LogProxy& operator<<(const Value& value)
    {
        if (m_line != nullptr) {
            Text() << value;
        }
        return *this;
    }

private:
    struct Line;

    std::ostream& Text();

    std::unique_ptr<Line> m_line; ///< null when the line is below the level
};

/// The operation's own name out of the compiler's full signature text: "int ZavRestApi::Logout(std::string&)" gives
/// "Logout". What a lambda is called is the provider's choice. The result points into `signature` or is a text that
/// lives as long as the program.
PRODUCT_FRAMEWORK_API std::string_view GetFunctionName(std::string_view signature) noexcept;

/// A number that each thread of the product holds for itself; 0 in a thread that never set it.
class PRODUCT_FRAMEWORK_API QENTSP {
public:
    unsigned long get() const noexcept;
    void set(unsigned long value) noexcept;
};

/// The id of the request that the calling thread works on.
extern PRODUCT_FRAMEWORK_API QENTSP TSP_RequestID;

#endif

#ifndef PRODUCT_STORAGE_COMMON_LOG_H
#define PRODUCT_STORAGE_COMMON_LOG_H

#include "common/framework/log_proxy.h"

#include <string_view>

/// The enclosing operation's name. It is taken out of the signature once for each place in the sources: that costs more
/// than a line that is left out.
#define PS_OPERATION_NAME()                                                                                            \
    [](std::string_view signature) {                                                                                   \
        static const std::string_view operationName = GetFunctionName(signature);                                      \
        return operationName;                                                                                          \
    }(__PRETTY_FUNCTION__)

/// Starts a log line of the enclosing operation, under the module name LOG_MODULE that each source file has.
/// Every line of this library streams the code 0 first.
#define PS_LOG(level) PS_LOG_AS(PS_OPERATION_NAME(), level)

/// The same in a helper that speaks for the operation that called it.
#define PS_LOG_AS(operation, level) LogProxy((level), LOG_MODULE, TSP_RequestID.get(), (operation), __LINE__) << 0

/// Logs the enclosing operation's entry and, when its scope ends, its exit.
#define PS_TRACE() PS_TRACE_WORDS({}, {})

/// The same in the operation's own words.
#define PS_TRACE_WORDS(entry, exit)                                                                                    \
    const OperationTrace operationTrace(LOG_MODULE, PS_OPERATION_NAME(), __LINE__, entry, exit)

class OperationTrace {
public:
    /// Empty words stand for "Enter" and "End" with the operation's name. All texts must outlive the object.
    OperationTrace(std::string_view moduleName, std::string_view operation, int line, std::string_view entry,
                   std::string_view exit)
        : m_moduleName(moduleName)
        , m_operation(operation)
        , m_line(line)
        , m_exit(exit)
    {
        Log("Enter ", entry);
    }

    OperationTrace(const OperationTrace&) = delete;
    OperationTrace& operator=(const OperationTrace&) = delete;

    ~OperationTrace() { Log("End ", m_exit); }

private:
    void Log(std::string_view verb, std::string_view words) const
    {
        LogProxy line(1, m_moduleName, TSP_RequestID.get(), m_operation, m_line);
        line << 0;
        if (words.empty()) {
            line << verb << m_operation;
        } else {
            line << words;
        }
    }

    const std::string_view m_moduleName;
    const std::string_view m_operation;
    const int m_line;
    const std::string_view m_exit;
};

#endif

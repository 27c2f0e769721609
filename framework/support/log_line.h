#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_LOG_LINE_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_LOG_LINE_H

#include "common/framework/log_proxy.h"

#include <string_view>

namespace Framework {

/// The module name of the framework's own log lines.
inline constexpr std::string_view LOG_MODULE = "ProductFramework";

} // namespace Framework

/// Starts a log line of the enclosing operation for whoever asked: his module and request.
#define FRAMEWORK_LOG_FOR(level, module, requestId)                                                                    \
    LogProxy(static_cast<int>(level), (module), (requestId), GetFunctionName(__PRETTY_FUNCTION__), __LINE__) << 0

/// The same in the framework's own name, on behalf of the request that the calling thread works on.
#define FRAMEWORK_LOG(level) FRAMEWORK_LOG_FOR(severity_level::level, Framework::LOG_MODULE, TSP_RequestID.get())

#endif

#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_PLAIN_HEADERS_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_PLAIN_HEADERS_H

#include <string_view>

namespace Framework {

/// Whether a line of an answer's head, with its end, can hold no secret: the status line, the empty one at the end, and
/// headers that tell of nothing but the answer's form and handling.
bool IsPlainHeadLine(std::string_view line);

} // namespace Framework

#endif

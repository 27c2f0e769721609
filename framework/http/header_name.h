#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_HEADER_NAME_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_HEADER_NAME_H

#include <strings.h>

#include <string_view>

namespace Framework {

/// Whether two names of headers are the same one: the case of their letters does not count.
inline bool IsSameHeader(std::string_view name, std::string_view other)
{
    return name.size() == other.size() && ::strncasecmp(name.data(), other.data(), name.size()) == 0;
}

} // namespace Framework

#endif

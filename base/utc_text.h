#ifndef PRODUCT_STORAGE_BASE_UTC_TEXT_H
#define PRODUCT_STORAGE_BASE_UTC_TEXT_H

#include <ctime>
#include <string>

namespace Base {

/// How UtcText writes, for strptime.
inline constexpr const char* UTC_FORMAT = "%Y-%m-%dT%H:%M:%SZ";

/// A time as ISO 8601 has it: "2026-01-31T23:59:59Z".
std::string UtcText(std::time_t time);

/// The same of its parts.
std::string UtcText(const std::tm& parts);

} // namespace Base

#endif

#ifndef PRODUCT_STORAGE_COMMON_PRINTABLE_TEXT_H
#define PRODUCT_STORAGE_COMMON_PRINTABLE_TEXT_H

#include <string>
#include <vector>

/// Lines that another program printed, as one piece of a log line: joined by "; ", each control character as \\xHH, and
/// cut, with "..." behind, where they come to more than `limit` bytes.
std::string PrintableText(const std::vector<std::string>& lines, std::size_t limit = 1000);

#endif

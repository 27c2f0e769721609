#ifndef PRODUCT_STORAGE_BASE_PRINTABLE_TEXT_H
#define PRODUCT_STORAGE_BASE_PRINTABLE_TEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace Base {

/// Text from outside as it may be shown, on a terminal or in a page: control characters, those that turn the direction
/// of writing among them, the two that no XML may hold, U+FFFE and U+FFFF, and bytes that are no UTF-8, as \xHH. What
/// else there is stays, so that a text without them comes back as it is.
std::string Printable(std::string_view text);

/// Lines that another program printed, as one piece of a line: printable, joined by "; ", and cut, with "..." behind,
/// where they come to more than `limit` bytes.
std::string PrintableLines(const std::vector<std::string>& lines, std::size_t limit = 1000);

/// How many columns of a terminal a printable text takes: none for what combines, two for what is wide.
std::size_t Columns(std::string_view text);

/// The printable form of `text`, with blanks behind it up to so many columns.
std::string PrintableCell(std::string_view text, std::size_t columns);

} // namespace Base

#endif

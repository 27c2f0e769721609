#ifndef PRODUCT_STORAGE_BASE_JSON_STRUCTURE_H
#define PRODUCT_STORAGE_BASE_JSON_STRUCTURE_H

#include <string_view>

namespace Base {

/// Whether a JSON text has at most 3,000,000 objects, arrays, members and elements, which is more than anything that is
/// asked for has: each costs a reader a hundred times the bytes that it takes in the text. For a text that is no JSON
/// either may come out. One pass, no memory.
bool HasBoundedStructure(std::string_view text);

} // namespace Base

#endif

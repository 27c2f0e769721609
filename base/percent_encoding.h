#ifndef PRODUCT_STORAGE_BASE_PERCENT_ENCODING_H
#define PRODUCT_STORAGE_BASE_PERCENT_ENCODING_H

#include <string>

namespace Base {

/// `text` as one segment of a URL's path: each byte but letters, digits and "-._~" as '%' and two digits.
std::string PercentEncode(const std::string& text);

} // namespace Base

#endif

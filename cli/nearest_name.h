#ifndef PRODUCT_STORAGE_CLI_NEAREST_NAME_H
#define PRODUCT_STORAGE_CLI_NEAREST_NAME_H

#include <string>
#include <vector>

/// The one of `names` that `typed` was most likely to be: at most two letters, or a third of them, are to be put in,
/// left out or changed. Empty when there is none.
std::string NearestName(const std::string& typed, const std::vector<std::string>& names);

#endif

#ifndef PRODUCT_STORAGE_BENCH_OTHER_JSON_H
#define PRODUCT_STORAGE_BENCH_OTHER_JSON_H

#include "rest/inventory_records.h"

#include <string>
#include <vector>

/// What decoders on other JSON libraries would make of an answer with LUNs. Each throws std::exception where it is not
/// one.
namespace OtherJson {

std::vector<Zav::LunInfo> DecodeByRapidJson(const std::string& answer);

/// `answer` is padded as the library wants it: there is room for more behind its end.
std::vector<Zav::LunInfo> DecodeBySimdjson(std::string& answer);

} // namespace OtherJson

#endif

#ifndef ZAVSIM_HTTP_TARGET_H
#define ZAVSIM_HTTP_TARGET_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZavSim {

/// A request target taken apart: the path's pieces between slashes and the query's pairs, percent-decoded. An empty
/// piece stays ("a//b" has three), '+' stands for itself, and of a key that comes twice the first counts.
struct Target {
    std::vector<std::string> pieces; ///< of the path without its leading slash
    std::map<std::string, std::string> query;
};

/// Path and query alone of a target that has the whole address, "http://host/path"; any other as it is.
std::string_view WithoutAuthority(std::string_view target);

/// Nothing when a '%' is not followed by two hexadecimal digits.
std::optional<std::string> DecodePercent(const std::string& text);
std::optional<Target> ParseTarget(const std::string& target);

/// The pieces between the separators; an empty text has one empty piece.
std::vector<std::string> Split(const std::string& text, char separator);

} // namespace ZavSim

#endif

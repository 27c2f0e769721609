#ifndef ZAVSIM_JSON_JSON_IO_H
#define ZAVSIM_JSON_JSON_IO_H

#include <json/value.h>

#include <optional>
#include <string>

namespace ZavSim {

/// One JSON text in strict form (no comments, no doubled members, nothing behind it). Nothing when it is not that;
/// `problem` then says where and why.
std::optional<Json::Value> ParseJson(const std::string& text, std::string& problem);

/// On one line, members in the order of their names.
std::string WriteJson(const Json::Value& value);

/// Over several lines, for files that people may look into; ends with a line end.
std::string WriteJsonIndented(const Json::Value& value);

} // namespace ZavSim

#endif

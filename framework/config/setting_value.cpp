#include "framework/config/setting_value.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <charconv>

namespace Framework {

namespace {

bool ParseInteger(const SettingSpec& spec, const std::string& text, std::int64_t& number)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && number >= spec.minimum && number <= spec.maximum;
}

std::string RangeText(const SettingSpec& spec)
{
    return std::to_string(spec.minimum) + " to " + std::to_string(spec.maximum);
}

bool ParseFlag(const std::string& text, std::int64_t& number)
{
    const bool isTrue = text == "true" || text == "yes" || text == "on" || text == "1";
    const bool isFalse = text == "false" || text == "no" || text == "off" || text == "0";
    number = isTrue ? 1 : 0;
    return isTrue || isFalse;
}

bool ParseIntegers(const SettingSpec& spec, const std::string& text, std::vector<std::int64_t>& numbers)
{
    if (text.empty()) {
        return true;
    }
    std::vector<std::string> pieces;
    boost::split(pieces, text, boost::is_any_of(","));
    for (std::string& piece : pieces) {
        boost::trim(piece);
        std::int64_t number = 0;
        if (!ParseInteger(spec, piece, number)) {
            return false;
        }
        numbers.push_back(number);
    }
    return true;
}

std::string Absolute(const std::string& path, const std::string& root)
{
    return path.empty() || path.front() == '/' ? path : root + "/" + path;
}

// Blanks around a piece are none of it, as they are none of a whole value. No piece is empty: an empty folder of a
// search path means the working directory. False when a path has a colon in it, which only the root can bring: nothing
// could tell it from the one between two paths.
bool ParsePaths(const std::string& text, const std::string& root, std::vector<std::string>& paths)
{
    std::vector<std::string> pieces;
    boost::split(pieces, text, boost::is_any_of(":"));
    for (std::string& piece : pieces) {
        boost::trim(piece);
        if (!piece.empty()) {
            paths.push_back(Absolute(piece, root));
        }
    }
    return std::none_of(paths.begin(), paths.end(), [](const std::string& path) { return boost::contains(path, ":"); });
}

} // namespace

bool ParseSetting(const SettingSpec& spec, const std::string& text, const std::string& root, SettingValue& value,
                  std::string& problem)
{
    value = SettingValue();
    value.text = text;
    switch (spec.kind) {
    case SettingKind::Integer:
        problem = "no whole number from " + RangeText(spec);
        return ParseInteger(spec, text, value.number);
    case SettingKind::Flag:
        problem = "neither true nor false";
        return ParseFlag(text, value.number);
    case SettingKind::IntegerList:
        problem = "no list of whole numbers from " + RangeText(spec) + ", separated by commas";
        return ParseIntegers(spec, text, value.numbers);
    case SettingKind::Path:
        value.text = Absolute(text, root);
        return true;
    case SettingKind::PathList:
        problem = "relative to the root " + root + ", whose colon cannot stand in a list of paths";
        if (!ParsePaths(text, root, value.paths)) {
            return false;
        }
        value.text = boost::algorithm::join(value.paths, ":");
        return true;
    }
    return false;
}

} // namespace Framework

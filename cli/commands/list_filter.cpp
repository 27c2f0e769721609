#include "cli/commands/list_filter.h"

#include <CLI/Error.hpp>

#include <boost/algorithm/string/join.hpp>

#include <fnmatch.h>

#include <algorithm>

namespace {

bool Fits(const std::string& pattern, const Json::Value& value)
{
    if (value.isArray()) {
        return std::any_of(value.begin(), value.end(),
                           [&pattern](const Json::Value& each) { return Fits(pattern, each); });
    }
    return ::fnmatch(pattern.c_str(), value.asString().c_str(), 0) == 0;
}

} // namespace

ListFilter::ListFilter(const std::vector<std::string>& texts, const std::vector<std::string>& members)
{
    for (const std::string& text : texts) {
        const std::size_t sign = text.find('=');
        const std::string member = text.substr(0, sign);
        if (sign == std::string::npos || std::find(members.begin(), members.end(), member) == members.end()) {
            throw CLI::ValidationError("--filter " + text,
                                       "takes MEMBER=PATTERN, of the members " + boost::algorithm::join(members, ", "));
        }
        m_patterns.emplace_back(member, text.substr(sign + 1));
    }
}

bool ListFilter::Names(const std::string& member) const
{
    return std::any_of(m_patterns.begin(), m_patterns.end(),
                       [&member](const auto& pattern) { return pattern.first == member; });
}

bool ListFilter::Accepts(const Json::Value& object) const
{
    return std::all_of(m_patterns.begin(), m_patterns.end(),
                       [&object](const auto& pattern) { return Fits(pattern.second, object[pattern.first]); });
}

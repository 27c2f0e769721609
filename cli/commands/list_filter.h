#ifndef PRODUCT_STORAGE_CLI_COMMANDS_LIST_FILTER_H
#define PRODUCT_STORAGE_CLI_COMMANDS_LIST_FILTER_H

#include <json/value.h>

#include <string>
#include <utility>
#include <vector>

/// Which objects of a list are wanted: those of which each named member fits its pattern, where *, ? and [...] stand
/// for what they stand for in a shell. Of a member that is a list, one text has to.
class ListFilter {
public:
    /// Takes "MEMBER=PATTERN" each. Throws CLI::ValidationError where a text is none, or names none of `members`.
    ListFilter(const std::vector<std::string>& texts, const std::vector<std::string>& members);

    bool Names(const std::string& member) const;
    bool Accepts(const Json::Value& object) const;

private:
    std::vector<std::pair<std::string, std::string>> m_patterns; // by member
};

#endif

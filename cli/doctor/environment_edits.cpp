#include "cli/doctor/environment_edits.h"

#include "base/files.h"
#include "cli/array/environment_check.h"
#include "cli/array/environment_file.h"
#include "cli/node/node_key.h"
#include "cli/node/node_shell.h"
#include "common/framework/config_reader.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <regex>
#include <sstream>
#include <vector>

namespace Doctor::Edit {

namespace {

/// What sed's s replaces first in each line; a basic regular expression, and in place of it text with \1 for its group.
struct Substitution {
    std::string pattern;
    std::string replacement;
};

using Substitutions = std::vector<Substitution>;

// What sed makes of the environment's text. Where a line is longer than the library's matcher, which goes as deep as a
// match is long, is sure to bear, nothing is tried, and no command comes of it.
std::string Changed(const Patient& patient, const Substitutions& substitutions)
{
    constexpr std::size_t LONGEST_LINE = 8192;
    std::vector<std::string> lines;
    boost::split(lines, patient.environmentText, boost::is_any_of("\n"));
    if (std::any_of(lines.begin(), lines.end(), [](const std::string& line) { return line.size() > LONGEST_LINE; })) {
        return patient.environmentText;
    }
    for (const Substitution& each : substitutions) {
        const std::regex pattern(each.pattern, std::regex::basic);
        for (std::string& line : lines) {
            line = std::regex_replace(line, pattern, each.replacement,
                                      std::regex_constants::format_sed | std::regex_constants::format_first_only);
        }
    }
    return boost::join(lines, "\n");
}

std::string Sed(const std::string& script, const std::string& file)
{
    return "sed -i --follow-symlinks '" + script + "' " + file; // an installed node's configuration is a link
}

std::string Sed(const Patient& patient, const Substitutions& substitutions)
{
    std::string script;
    for (const Substitution& each : substitutions) {
        script += (script.empty() ? "s/" : "; s/") + each.pattern + "/" + each.replacement + "/";
    }
    return Sed(script, FileOf(patient));
}

// Of names and IP addresses none but these have a meaning of their own in sed's expressions.
std::string Literal(const std::string& address)
{
    std::string literal;
    for (const char each : address) {
        literal += (each == '.' || each == '[' ? "\\" : "") + std::string(1, each);
    }
    return literal;
}

// Whether a line has these two words at its beginning, with any blanks before each.
bool HasLine(const std::string& text, const std::string& word, const std::string& next)
{
    const auto isBlank = boost::is_any_of(" \t");
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        boost::trim_left_if(line, isBlank);
        if (boost::starts_with(line, word) &&
            boost::starts_with(boost::trim_left_copy_if(line.substr(word.size()), isBlank), next)) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string FileOf(const Patient& patient)
{
    return patient.environmentPath == STANDARD_INPUT ? "FILE" : NodeShell::Word(patient.environmentPath);
}

std::string WithoutAddress(const Patient& patient, const std::string& address)
{
    std::vector<std::string> addresses = ManagementAddresses(patient.env);
    addresses.erase(std::remove(addresses.begin(), addresses.end(), address), addresses.end());
    if (addresses.empty() || !ProblemOfAddress(address).empty() || !ProblemOfAddress(addresses.front()).empty()) {
        return {};
    }
    const std::string entry = "\"" + Literal(address) + "\"";
    Substitutions substitutions;
    if (patient.env.management_ips(0) == address) {
        substitutions.push_back(
            {R"re(\("management[_Ii]*ps": *\[\))re" + entry, R"(\1")" + Literal(addresses.front()) + "\""});
    }
    substitutions.push_back({", *" + entry, ""});
    substitutions.push_back({entry + ", *", ""});
    EnvironmentPath changed;
    const bool isRight =
        ParseEnvironment(Changed(patient, substitutions), changed).empty() && ManagementAddresses(changed) == addresses;
    return isRight ? Sed(patient, substitutions) : "";
}

std::string WithNewPassword(const Patient& patient, bool isNewKeyWanted)
{
    const auto& ciphers = patient.env.encrypted_passwords();
    const bool isThere = patient.environmentText.find("AES256GCM") != std::string::npos;
    if (!isThere || (!ciphers.empty() && !NodeKey::IsCipher(ciphers[0]))) {
        return {}; // what stands in its place is not told from other text
    }
    // The old password stays where no new one comes about.
    return std::string("cipher=$(zavctl password encrypt") + (isNewKeyWanted ? " --new-key" : "") +
           " <PASSWORD_FILE) && sed -i --follow-symlinks \"s|AES256GCM[^\\\"]*|$cipher|\" " + FileOf(patient);
}

std::string WithNumber(const Patient& patient, const std::string& member, int number)
{
    const Substitutions substitutions = {
        {"\\(\"" + member + R"(": *\)\[[0-9]*])", R"(\1[)" + std::to_string(number) + "]"}};
    return Changed(patient, substitutions) == patient.environmentText ? "" : Sed(patient, substitutions);
}

std::string WithSetting(const std::string& section, const std::string& key, const std::string& value)
{
    const std::string path = ConfigReader::getFile();
    const std::string file = NodeShell::Word(path);
    const std::string text = Base::ReadFileIfThere(path).value_or("");
    if (HasLine(text, key, "=")) {
        return Sed("s/^[ \\t]*" + key + "[ \\t]*=.*/" + key + " = " + value + "/", file);
    }
    if (HasLine(text, "[" + section + "]", "")) {
        return Sed("/^[ \\t]*\\[" + section + "\\]/a " + key + " = " + value, file);
    }
    const bool hasOpenEnd = !text.empty() && text.back() != '\n';
    return std::string("printf '") + (hasOpenEnd ? "\\n" : "") + "[" + section + "]\\n" + key + " = " + value +
           "\\n' >>" + file;
}

} // namespace Doctor::Edit

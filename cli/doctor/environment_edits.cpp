#include "cli/doctor/environment_edits.h"

#include "base/files.h"
#include "cli/environment_file.h"
#include "cli/node_shell.h"
#include "common/framework/config_reader.h"

#include <algorithm>
#include <regex>
#include <string_view>

namespace Doctor::Edit {

namespace {

// As sed's basic regular expressions want it.
std::string Literal(const std::string& text)
{
    constexpr std::string_view SPECIAL = R"(\.[]*^$/)";
    std::string literal;
    for (const char each : text) {
        literal += (SPECIAL.find(each) == std::string_view::npos ? "" : "\\") + std::string(1, each);
    }
    return literal;
}

std::string Sed(const std::string& script, const std::string& file)
{
    return "sed -i --follow-symlinks '" + script + "' " + file; // an installed node's configuration is a link
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
    if (addresses.empty() || address.find('\'') != std::string::npos) {
        return {};
    }
    const std::string entry = "\"" + Literal(address) + "\"";
    const bool isFirst = patient.env.management_ips(0) == address;
    const std::string list = R"re(s/\("management[_Ii]*ps": *\[\))re";
    return Sed((isFirst ? list + entry + "/\\1\"" + Literal(addresses.front()) + "\"/; " : "") + "s/, *" + entry +
                   "//; s/" + entry + ", *//",
               FileOf(patient));
}

std::string WithNewPassword(const Patient& patient, bool isNewKeyWanted)
{
    // The old password stays where no new one comes about.
    return std::string("cipher=$(zavctl password encrypt") + (isNewKeyWanted ? " --new-key" : "") +
           " <PASSWORD_FILE) && sed -i --follow-symlinks \"s|AES256GCM[^\\\"]*|$cipher|\" " + FileOf(patient);
}

std::string WithNumber(const Patient& patient, const std::string& member, int number)
{
    return Sed("s/\\(\"" + member + R"(": *\)\[[0-9]*\]/\1[)" + std::to_string(number) + "]/", FileOf(patient));
}

std::string WithSetting(const std::string& section, const std::string& key, const std::string& value)
{
    const std::string path = ConfigReader::getFile();
    const std::string file = NodeShell::Word(path);
    const std::string text = Base::ReadFileIfThere(path).value_or("");
    const auto has = [&text](const std::string& line) {
        return std::regex_search(text, std::regex("(^|\\n)[ \\t]*" + line));
    };
    if (has(key + "[ \\t]*=")) {
        return Sed("s/^[ \\t]*" + key + "[ \\t]*=.*/" + key + " = " + value + "/", file);
    }
    if (has("\\[" + section + "\\]")) {
        return Sed("/^[ \\t]*\\[" + section + "\\]/a " + key + " = " + value, file);
    }
    const bool hasOpenEnd = !text.empty() && text.back() != '\n';
    return std::string("printf '") + (hasOpenEnd ? "\\n" : "") + "[" + section + "]\\n" + key + " = " + value +
           "\\n' >>" + file;
}

} // namespace Doctor::Edit

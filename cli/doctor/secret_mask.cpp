#include "cli/doctor/secret_mask.h"

#include "base/json_writing.h"
#include "base/percent_encoding.h"
#include "base/secret.h"

#include <json/writer.h>

#include <boost/algorithm/string/replace.hpp>

#include <regex>
#include <sstream>

namespace Doctor {

namespace {

constexpr const char* MASK = "***";
constexpr std::size_t LONGEST_LINE = 16384; // of those that the matcher's stack is sure to bear
constexpr std::size_t SHORTEST = 4;         // a shorter one stands in any text by chance

// As the inside of a JSON text.
std::string InJson(const std::string& text)
{
    const std::string quoted = Base::WriteJson(Json::StreamWriterBuilder(), text);
    return quoted.substr(1, quoted.size() - 2);
}

// Line by line: the library's matcher goes as deep as a match is long.
std::string MaskByName(const std::string& text)
{
    static const std::regex member(R"re(("[^"]*(?:assword|oken|ookie|redential|ecret)[^"]*"\s*:\s*\[?\s*)"[^"]*")re",
                                   std::regex::icase);
    static const std::regex setting(R"re(((?:assword|oken|ookie|redential|ecret)[A-Za-z]*\s*[=:]\s*)[^\s",;]+)re",
                                    std::regex::icase);
    static const std::regex cipher("AES256GCM\\.[0-9]+\\.[A-Za-z0-9+/=]+");
    std::istringstream lines(text);
    std::string masked;
    for (std::string line; std::getline(lines, line);) {
        if (line.size() > LONGEST_LINE) {
            line = "(a line of " + std::to_string(line.size()) + " bytes is left out)";
        }
        line = std::regex_replace(line, cipher, MASK);
        line = std::regex_replace(line, member, std::string("$1\"") + MASK + "\"");
        masked += std::regex_replace(line, setting, std::string("$1") + MASK) + (lines.eof() ? "" : "\n");
    }
    return masked;
}

} // namespace

SecretMask::~SecretMask()
{
    for (std::string& secret : m_known) {
        Secret::Wipe(secret);
    }
}

void SecretMask::Know(const std::string& secret)
{
    if (secret.size() >= SHORTEST) {
        for (const std::string& form : {secret, InJson(secret), Base::PercentEncode(secret)}) {
            m_known.push_back(form);
        }
    }
}

std::string SecretMask::Mask(std::string text) const
{
    for (const std::string& secret : m_known) {
        boost::replace_all(text, secret, MASK);
    }
    return MaskByName(text);
}

} // namespace Doctor

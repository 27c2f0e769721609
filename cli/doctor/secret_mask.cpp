#include "cli/doctor/secret_mask.h"

#include "base/json_writing.h"
#include "base/percent_encoding.h"
#include "base/secret.h"

#include <json/writer.h>

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <cctype>
#include <regex>
#include <sstream>

namespace Doctor {

namespace {

constexpr const char* MASK = "***";
constexpr std::size_t LONGEST_LINE = 16384; // of those that the matcher's stack is sure to bear
constexpr std::size_t SHORT = 4;            // less than that stands within words by chance

bool IsOfWord(const std::string& text, std::size_t position)
{
    return position < text.size() &&
           (std::isalnum(static_cast<unsigned char>(text[position])) != 0 || text[position] == '_');
}

// Where it is no piece of a longer word.
std::string MaskAsWord(const std::string& text, const std::string& secret)
{
    std::string masked;
    std::size_t done = 0;
    for (std::size_t found = text.find(secret); found != std::string::npos;) {
        const std::size_t end = found + secret.size();
        const bool isPiece = (found != 0 && IsOfWord(text, found - 1)) || IsOfWord(text, end);
        masked += text.substr(done, found - done) + (isPiece ? text.substr(found, 1) : MASK);
        done = isPiece ? found + 1 : end;
        found = text.find(secret, done);
    }
    return masked + text.substr(done);
}

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
    const auto isLonger = [](const std::string& one, const std::string& other) { return one.size() > other.size(); };
    for (const std::string& form : {secret, InJson(secret), Base::PercentEncode(secret)}) {
        if (!form.empty() && std::find(m_known.begin(), m_known.end(), form) == m_known.end()) {
            m_known.insert(std::upper_bound(m_known.begin(), m_known.end(), form, isLonger), form);
        }
    }
}

std::string SecretMask::Mask(std::string text) const
{
    for (const std::string& secret : m_known) {
        if (secret.size() < SHORT) {
            text = MaskAsWord(text, secret);
        } else {
            boost::replace_all(text, secret, MASK);
        }
    }
    return MaskByName(text);
}

} // namespace Doctor

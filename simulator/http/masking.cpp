#include "simulator/http/masking.h"

#include "simulator/http/target.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace ZavSim {

namespace {

constexpr const char* MASK = "***";

bool IsSecretName(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name.find("password") != std::string::npos || name.find("token") != std::string::npos ||
           name.find("cookie") != std::string::npos || name.find("secret") != std::string::npos;
}

/// Copies JSON text without the values of secrets, in one pass and without building anything of it.
class TextMasker {
public:
    explicit TextMasker(std::string_view text)
        : m_text(text)
    {
    }

    std::string Run()
    {
        while (m_at < m_text.size()) {
            if (m_text[m_at] != '"') {
                m_masked += m_text[m_at++];
                continue;
            }
            const std::string_view token = Skip(&TextMasker::SkipText);
            m_masked += token;
            m_masked += Skip(&TextMasker::SkipBlanks);
            if (m_at < m_text.size() && m_text[m_at] == ':' && NamesSecret(token)) {
                ++m_at;
                Skip(&TextMasker::SkipBlanks);
                Skip(&TextMasker::SkipValue);
                m_masked += std::string(":\"") + MASK + '"';
            }
        }
        return std::move(m_masked);
    }

private:
    // A name that is written with escapes could be any.
    static bool NamesSecret(std::string_view token)
    {
        return token.find('\\') != std::string_view::npos || IsSecretName(std::string(token));
    }

    std::string_view Skip(void (TextMasker::*skip)())
    {
        const std::size_t begin = m_at;
        (this->*skip)();
        return m_text.substr(begin, m_at - begin);
    }

    void SkipBlanks() { m_at = std::min(m_text.find_first_not_of(" \t\r\n", m_at), m_text.size()); }

    void SkipText()
    {
        for (++m_at; m_at < m_text.size() && m_text[m_at] != '"'; ++m_at) {
            if (m_text[m_at] == '\\') {
                ++m_at;
            }
        }
        m_at = std::min(m_at + 1, m_text.size());
    }

    void SkipValue()
    {
        std::size_t depth = 0;
        while (m_at < m_text.size()) {
            const char c = m_text[m_at];
            if (c == '"') {
                SkipText();
            } else if (depth == 0 && (c == ',' || c == '}' || c == ']')) {
                return; // of what the value is in
            } else {
                depth += c == '{' || c == '[' ? 1U : 0U;
                depth -= c == '}' || c == ']' ? 1U : 0U;
                ++m_at;
            }
        }
    }

    const std::string_view m_text;
    std::size_t m_at = 0;
    std::string m_masked;
};

std::string LengthAlone(std::size_t size, const char* why)
{
    return "(" + std::to_string(size) + " bytes" + why + ")";
}

} // namespace

std::string MaskBody(const HttpRequest& request)
{
    if (request.body.empty()) {
        return "";
    }
    if (request.body.size() > SHOWN_BODY_BYTES) {
        return '"' + LengthAlone(request.body.size(), ", more than the journal keeps") + '"';
    }
    if (!request.json) {
        return '"' + LengthAlone(request.body.size(), " that are not JSON") + '"';
    }
    return TextMasker(request.body).Run();
}

std::string MaskAnswer(const std::string& body)
{
    const std::size_t first = body.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return "";
    }
    if (body[first] != '{' && body[first] != '[') {
        return LengthAlone(body.size(), " that are not JSON");
    }
    std::string shown = TextMasker(std::string_view(body).substr(0, SHOWN_BODY_BYTES)).Run();
    if (body.size() > SHOWN_BODY_BYTES) {
        shown += " … " + LengthAlone(body.size(), " in all");
    }
    return shown;
}

std::string MaskTarget(const std::string& target)
{
    const std::size_t mark = target.find('?');
    if (mark == std::string::npos) {
        return target;
    }
    std::string masked = target.substr(0, mark);
    char joint = '?';
    for (const std::string& pair : Split(target.substr(mark + 1), '&')) {
        const std::size_t equals = pair.find('=');
        const std::string name = pair.substr(0, equals);
        const bool secret = equals != std::string::npos && IsSecretName(DecodePercent(name).value_or(name));
        masked += joint + (secret ? name + "=" + MASK : pair);
        joint = '&';
    }
    return masked;
}

} // namespace ZavSim

#include "framework/shell/command_template.h"

#include <vector>

namespace Framework {

namespace {

enum class Quoting { None, Single, Double, Backquote, Comment };

/// Follows the shell's quoting from character to character.
class QuotingTracker {
public:
    Quoting Current() const { return m_levels.back(); }
    bool IsEscaped() const { return m_isEscaped; }

    void Advance(char character)
    {
        if (m_isEscaped) {
            m_isEscaped = false;
            m_isWordStart = false;
            m_last = 'x'; // an escaped "$" begins nothing
            return;
        }
        switch (Current()) {
        case Quoting::Single:
            LeaveOn(character, '\'');
            break;
        case Quoting::Comment:
            LeaveOn(character, '\n');
            break;
        case Quoting::Double:
            AdvanceDouble(character);
            break;
        case Quoting::Backquote:
            AdvanceBackquote(character);
            break;
        case Quoting::None:
            AdvanceBare(character);
            break;
        }
        m_last = character;
    }

private:
    void LeaveOn(char character, char end)
    {
        if (character == end) {
            m_levels.pop_back();
            m_isWordStart = end == '\n';
        }
    }

    void AdvanceDouble(char character)
    {
        if (character == '\\') {
            m_isEscaped = true;
        } else if (character == '`') {
            m_levels.push_back(Quoting::Backquote);
        } else if (character == '(' && m_last == '$') {
            m_levels.push_back(Quoting::None);
            m_isWordStart = true;
        } else {
            LeaveOn(character, '"');
        }
    }

    void AdvanceBackquote(char character)
    {
        m_isEscaped = character == '\\';
        LeaveOn(character, '`');
    }

    void AdvanceBare(char character)
    {
        const bool isWordStart = m_isWordStart;
        m_isWordStart = character == ' ' || character == '\t' || character == '\n' || character == ';' ||
                        character == '&' || character == '|' || character == '(' || character == ')' ||
                        character == '<' || character == '>';
        if (character == '\\') {
            m_isEscaped = true;
        } else if (character == '\'') {
            m_levels.push_back(Quoting::Single);
        } else if (character == '"') {
            m_levels.push_back(Quoting::Double);
        } else if (character == '`') {
            m_levels.push_back(Quoting::Backquote);
        } else if (character == '#' && isWordStart) {
            m_levels.push_back(Quoting::Comment);
        } else if (character == '(') {
            m_levels.push_back(Quoting::None);
        } else if (character == ')' && m_levels.size() > 1) {
            m_levels.pop_back();
        }
    }

    std::vector<Quoting> m_levels = {Quoting::None}; // never empty; one for each quote or bracket that is open
    bool m_isEscaped = false;                        // the next character stands behind an active backslash
    bool m_isWordStart = true;                       // a word may begin here, or a comment
    char m_last = '\0';
};

std::string Expansion(Quoting quoting, const std::string& variable)
{
    switch (quoting) {
    case Quoting::Double:
        return "${" + variable + "}";
    case Quoting::Single:
        return "'\"${" + variable + "}\"'"; // ends the quotes for as long as it takes
    case Quoting::Comment:
        return "?";
    default:
        return "\"${" + variable + "}\"";
    }
}

} // namespace

std::string ParameterVariable(std::size_t index)
{
    return "PRODUCT_STORAGE_SHELL_PARAMETER_" + std::to_string(index);
}

CommandTemplate ParseTemplate(const std::string& text)
{
    CommandTemplate result;
    QuotingTracker tracker;
    for (const char character : text) {
        if (character != '?') {
            result.command += character;
            tracker.Advance(character);
            continue;
        }
        if (tracker.IsEscaped() || tracker.Current() == Quoting::Backquote) {
            result.problem = "the '?' of parameter " + std::to_string(result.parameterCount + 1) + " stands " +
                             (tracker.IsEscaped() ? "behind a backslash" : "within `...`");
        }
        result.command += Expansion(tracker.Current(), ParameterVariable(result.parameterCount));
        ++result.parameterCount;
        tracker.Advance(character);
    }
    return result;
}

} // namespace Framework

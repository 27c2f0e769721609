#include "common/framework/log_proxy.h"

#include <cstring>

// The compilers' signature texts are read from their end: behind the last parameter list come qualifiers and template
// arguments, before it the name. What differs between the compilers is how they write a lambda and the unnamed
// namespace:
//   g++:    {anonymous}::Array::Login(int) const::<lambda(auto:1)> mutable [with auto:1 = int]
//   clang:  auto (anonymous namespace)::Array::Login(int)::(anonymous class)::operator()(auto) [x:auto = int]

namespace {

constexpr std::size_t NONE = std::string_view::npos;
constexpr std::string_view OPERATOR = "operator";
constexpr std::string_view CALL_OPERATOR = "operator()";
constexpr std::string_view LAMBDA = "<lambda";
constexpr std::string_view SCOPE = "::";

bool StartsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool IsNameCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '$' ||
           static_cast<unsigned char>(character) >= 0x80;
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == ' ') {
        text.remove_suffix(1);
    }
    return text;
}

// The position of the bracket that the last character closes.
std::size_t FindOpening(std::string_view text, char opening)
{
    const char closing = text.back();
    std::size_t depth = 0;
    for (std::size_t index = text.size(); index-- > 0;) {
        if (text[index] == closing) {
            ++depth;
        } else if (text[index] == opening && --depth == 0) {
            return index;
        }
    }
    return NONE;
}

// Cuts the qualifiers, the template arguments and the bounds of a returned array.
std::string_view CutBehindParameters(std::string_view text)
{
    for (;;) {
        text = Trim(text);
        if (EndsWith(text, ")")) {
            return text; // as most do; this is called for each line that is not logged, too
        }
        const std::size_t before = text.size();
        for (const std::string_view word : {" const", " volatile", " mutable", " noexcept", "&"}) {
            if (EndsWith(text, word)) {
                text.remove_suffix(word.size());
            }
        }
        if (EndsWith(text, "]")) {
            const std::size_t opening = FindOpening(text, '[');
            if (opening != NONE && opening > 0 && (text[opening - 1] == ' ' || text[opening - 1] == ')')) {
                text = text.substr(0, opening);
            }
        }
        if (text.size() == before) {
            return text;
        }
    }
}

// Where `head`, the text before a parameter list, has the name of an operator; NONE when it has none.
std::size_t FindOperator(std::string_view head)
{
    if (::memmem(head.data(), head.size(), OPERATOR.data(), OPERATOR.size()) == nullptr) {
        return NONE; // most often, and found out fastest so
    }
    const std::size_t position = head.rfind(OPERATOR);
    if (position == NONE || (position > 0 && IsNameCharacter(head[position - 1]))) {
        return NONE;
    }
    const std::string_view rest = head.substr(position + OPERATOR.size());
    if (rest.empty() || IsNameCharacter(rest.front())) {
        return NONE;
    }
    if (rest == "()" || StartsWith(rest, "\"\"")) {
        return position;
    }
    std::size_t depth = 0;
    bool hasName = false;
    for (const char character : rest) {
        hasName = hasName || IsNameCharacter(character);
        if (character == '<') {
            ++depth;
        } else if (character == '>' && depth > 0) {
            --depth;
        } else if (character == '(' && depth == 0) {
            return NONE; // something inside of an operator, such as "operator()(int)::Local::Run"
        }
    }
    return !hasName || rest.front() == ' ' ? position : NONE; // a symbol, or a type or "new" behind a blank
}

// The name that ends `head`.
std::string_view LastName(std::string_view head)
{
    head = Trim(head);
    const std::size_t operatorPosition = FindOperator(head);
    if (operatorPosition != NONE) {
        return head.substr(operatorPosition);
    }
    for (const char* brackets : {"[]", "<>"}) { // an ABI tag, the arguments of a specialisation
        if (!head.empty() && head.back() == brackets[1]) {
            const std::size_t opening = FindOpening(head, brackets[0]);
            head = head.substr(0, opening == NONE ? head.size() : opening);
        }
    }
    std::size_t start = head.size();
    while (start > 0 && IsNameCharacter(head[start - 1])) {
        --start;
    }
    if (start > 0 && start < head.size() && head[start - 1] == '~') {
        --start;
    }
    return head.substr(start);
}

// The operation around the lambda whose g++ text ends `text`; the text itself when there is none.
std::string_view CutGccLambda(std::string_view text)
{
    const std::size_t opening = EndsWith(text, ">") ? FindOpening(text, '<') : NONE;
    return opening != NONE && StartsWith(text.substr(opening), LAMBDA) ? text.substr(0, opening) : text;
}

// The same for clang, where `head` is the text before the lambda's parameters.
std::string_view CutClangLambda(std::string_view head)
{
    if (!EndsWith(head, CALL_OPERATOR)) {
        return head;
    }
    std::string_view owner = head.substr(0, head.size() - CALL_OPERATOR.size());
    if (!EndsWith(owner, ")::")) {
        return head;
    }
    owner.remove_suffix(SCOPE.size());
    const std::size_t opening = FindOpening(owner, '(');
    if (opening == NONE) {
        return head;
    }
    const std::string_view kind = owner.substr(opening);
    return StartsWith(kind, "(anonymous class") || StartsWith(kind, "(lambda at ") ? owner.substr(0, opening) : head;
}

// Whether what is left around a lambda that was cut is more than the unnamed namespace.
bool HasOuterName(std::string_view outer)
{
    return EndsWith(outer, SCOPE) && outer.size() > SCOPE.size() && outer[outer.size() - SCOPE.size() - 1] != '}' &&
           !EndsWith(outer, "(anonymous namespace)::");
}

} // namespace

std::string_view GetFunctionName(std::string_view signature) noexcept
{
    std::string_view text = signature;
    for (;;) {
        text = CutBehindParameters(text);
        const std::string_view aroundGcc = CutGccLambda(text);
        if (aroundGcc.size() != text.size()) {
            if (!HasOuterName(aroundGcc)) {
                return "lambda";
            }
            text = aroundGcc.substr(0, aroundGcc.size() - SCOPE.size());
            continue;
        }
        const std::size_t opening = EndsWith(text, ")") ? FindOpening(text, '(') : NONE;
        if (opening == NONE) {
            break;
        }
        const std::string_view head = text.substr(0, opening);
        const std::string_view aroundClang = CutClangLambda(head);
        if (aroundClang.size() != head.size()) {
            if (!HasOuterName(aroundClang)) {
                return "lambda";
            }
            text = aroundClang.substr(0, aroundClang.size() - SCOPE.size());
            continue;
        }
        // The operation returns a function pointer, "void (* Get(int))(char)", or a reference to an array,
        // "int (& Get(int))[3]": its own text stands in the brackets.
        const bool isInsideHead = EndsWith(head, ")") && !EndsWith(head, CALL_OPERATOR);
        if (!isInsideHead && !EndsWith(head, " ")) {
            text = head;
            break;
        }
        const std::string_view declarator = isInsideHead ? head : text;
        const std::size_t inner = FindOpening(declarator, '(');
        if (inner == NONE) {
            break;
        }
        text = declarator.substr(inner + 1, declarator.size() - inner - 2);
    }
    const std::string_view name = LastName(text);
    return name.empty() ? signature : name;
}

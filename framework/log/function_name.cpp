#include "common/framework/log_proxy.h"

#include <algorithm>

// What the compilers write differently is a lambda and the unnamed namespace:
//   g++:    {anonymous}::Array::Login(int) const::<lambda(auto:1)> mutable [with auto:1 = int]
//   clang:  auto (anonymous namespace)::Array::Login(int)::(anonymous class)::operator()(auto) [x:auto = int]
// A lambda bears the name of the operation that it stands in, and is "lambda" outside of any.
// Of an operation whose return type or own name has a parameter list in it (a function pointer, a conversion) some part
// of the text is given.

namespace {

constexpr std::size_t NONE = std::string_view::npos;
constexpr std::string_view UNNAMED_NAMESPACES[] = {"{anonymous}", "(anonymous namespace)"};
constexpr std::string_view LAMBDAS[] = {"<lambda", "(anonymous class)", "(lambda at "};

bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool IsNameCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '$' || character == '~' ||
           static_cast<unsigned char>(character) >= 0x80;
}

// `text` without the bracket that ends it and what is in there; as it is when there is none.
std::string_view CutBracket(std::string_view text, char opening, char closing)
{
    std::size_t depth = 0;
    for (std::size_t index = text.size(); index-- > 0;) {
        if (text[index] == closing) {
            ++depth;
        } else if (text[index] == opening && --depth == 0) {
            return text.substr(0, index);
        }
    }
    return text;
}

// What stands before the first lambda: the operation that all the lambdas are in.
std::string_view CutLambdas(std::string_view text)
{
    std::size_t first = NONE;
    for (const std::string_view lambda : LAMBDAS) {
        first = std::min(first, text.find(lambda));
    }
    if (first == NONE) {
        return text;
    }
    text = text.substr(0, first);
    return EndsWith(text, "::") ? text.substr(0, text.size() - 2) : text;
}

bool IsNameless(std::string_view scope)
{
    return scope.empty() || scope.back() == ' ' ||
           std::any_of(std::begin(UNNAMED_NAMESPACES), std::end(UNNAMED_NAMESPACES),
                       [scope](std::string_view unnamed) { return EndsWith(scope, unnamed); });
}

std::string_view LastName(std::string_view text)
{
    const std::size_t operatorWord = text.rfind("operator");
    if (operatorWord != NONE && operatorWord + 8 < text.size() && !IsNameCharacter(text[operatorWord + 8]) &&
        text.find("::", operatorWord) == NONE) {
        return text.substr(operatorWord);
    }
    if (EndsWith(text, "]")) { // an ABI tag
        text = CutBracket(text, '[', ']');
    }
    if (EndsWith(text, ">")) { // the arguments of a specialisation
        text = CutBracket(text, '<', '>');
    }
    const auto end = std::find_if_not(text.rbegin(), text.rend(), IsNameCharacter);
    return text.substr(static_cast<std::size_t>(text.rend() - end));
}

} // namespace

std::string_view GetFunctionName(std::string_view signature) noexcept
{
    const std::string_view declared = signature.substr(0, signature.find(" [")); // behind it, template arguments
    std::string_view text = CutLambdas(declared);
    if (text.size() < declared.size() && IsNameless(text)) {
        return "lambda";
    }
    const std::size_t parametersEnd = text.rfind(')'); // behind it, qualifiers
    if (parametersEnd != NONE) {
        text = CutBracket(text.substr(0, parametersEnd + 1), '(', ')');
    }
    const std::string_view name = LastName(text);
    return name.empty() ? signature : name;
}

#include "framework/shell/command_template.h"

#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/require.h"

#include <algorithm>
#include <string_view>

using namespace Fuzz;

namespace {

// The length of the expansion of parameter `index` at the front of `command`; 0 when there is none.
std::size_t ExpansionLength(std::string_view command, std::size_t index)
{
    const std::string variable = "${" + Framework::ParameterVariable(index) + "}";
    for (const std::string& expansion :
         {"'\"" + variable + "\"'", "\"" + variable + "\"", variable, std::string("?")}) {
        if (command.substr(0, expansion.size()) == expansion) {
            return expansion.size();
        }
    }
    return 0;
}

} // namespace

// A command template; it is never run.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = Input(data, size).TakeRest();
    const Framework::CommandTemplate parsed = Framework::ParseTemplate(text);
    std::string_view rest = parsed.command;
    std::size_t marks = 0;
    for (const char character : text) {
        const std::size_t length = character == '?'
                                       ? ExpansionLength(rest, marks)
                                       : static_cast<std::size_t>(rest.substr(0, 1) == std::string(1, character));
        Require(length != 0, "a '?' becomes its parameter's variable and all other text stays");
        rest.remove_prefix(length);
        marks += character == '?' ? 1 : 0;
    }
    Require(rest.empty(), "nothing else is added");
    Require(parsed.parameterCount == marks, "each '?' is one parameter");
    Require(marks != 0 || parsed.problem.empty(), "only a '?' can be a problem");
    return 0;
}

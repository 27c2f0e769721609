#include "common/framework/shell_runner.h"
#include "tests/fuzz/support/framework_home.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/require.h"

#include <boost/algorithm/string/join.hpp>

#include <array>

using namespace Fuzz;

namespace {

constexpr unsigned int MAX_PARAMETERS = 6;

/// A place in which a '?' can stand, and what the shell makes of it around the parameter.
struct Place {
    const char* text;
    const char* before;
    const char* behind;
};

constexpr std::array<Place, 10> PLACES = {{
    {"'?'", "", ""},
    {"\"?\"", "", ""},
    {"?", "", ""},
    {"'a ?\tb'", "a ", "\tb"},
    {"\"it's ?\"", "it's ", ""},
    {"\\'?'\"'", "'", "\""},
    {"a'\\'?\"#\"", "a\\", "#"},
    {"\"$(printf '%s.' '?')\"", "", "."},
    {"\"$(printf %s. \"?\" | cat)\"", "", "."},
    {"\"`echo '\\'`\"?", "\\", ""},
}};

// Runs one shell, without which nothing can be told; printf ends each word that it is given with a NUL byte.
void CheckRun(const std::string& command, const std::vector<std::string>& params, const std::string& expected)
{
    std::vector<std::string> out;
    std::vector<std::string> err;
    const int status = runShellCmdWithOutput(severity_level::Info, "fuzz", 0, command, params, out, err);
    const bool hasNul = boost::algorithm::join(params, "").find('\0') != std::string::npos;
    Require(status == (hasNul ? 126 : 0), "every text but one with a NUL byte can be a parameter");
    Require(hasNul || boost::algorithm::join(out, "\n") == expected, "every parameter arrives as it is");
    Require(hasNul || err.empty(), "the shell has nothing to complain about");
}

} // namespace

// Parameters: for each a byte that chooses its place, one that tells its length, and its text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FrameworkHome HOME;
    Input input(data, size);
    std::string command = "printf '%s\\0'";
    std::string expected;
    std::vector<std::string> params;
    while (!input.IsAtEnd() && params.size() < MAX_PARAMETERS) {
        const Place& place = PLACES[input.TakeByte() % PLACES.size()];
        const unsigned int length = input.TakeByte();
        params.push_back(input.TakeText(length));
        command += std::string(" ") + place.text;
        expected += place.before + params.back() + place.behind + '\0';
    }
    if (!params.empty()) {
        CheckRun(command, params, expected);
    }
    return 0;
}

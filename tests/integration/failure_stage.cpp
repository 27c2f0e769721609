#include "tests/integration/failure_stage.h"
#include "tests/support/slowness.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <regex>
#include <sstream>

namespace {

std::vector<std::string> LastTwoLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    lines.erase(lines.begin(), lines.end() - std::min<std::ptrdiff_t>(2, static_cast<std::ptrdiff_t>(lines.size())));
    return lines;
}

// Without the times that something took, names that are drawn at random, and the version of OpenSSL.
std::string Settled(const std::string& text)
{
    const std::string timeless = std::regex_replace(text, std::regex("after [0-9]+ ms"), "after N ms");
    const std::string nameless = std::regex_replace(timeless, std::regex("Vendrix_[A-Za-z0-9_-]+"), "NAME");
    return std::regex_replace(nameless, std::regex("OpenSSL/[0-9.]+"), "OpenSSL/N");
}

} // namespace

void FailureStage::ExpectEnding(const Process::Arguments& arguments, const Ending& ending, double seconds) const
{
    Process::Arguments words = m_before;
    words.push_back(ProductPath("bin/zavctl"));
    words.insert(words.end(), arguments.begin(), arguments.end());
    const auto begin = std::chrono::steady_clock::now();
    ExpectEnding(RunToEnd(words, m_variables), ending);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(taken.count(), seconds * SLOWNESS);
    std::string command = "zavctl";
    for (const std::string& argument : arguments) {
        command += " " + argument;
    }
    RecordProperty("command", command);
    RecordProperty("seconds", std::to_string(taken.count()));
}

void FailureStage::ExpectEnding(const Base::ProgramResult& outcome, const Ending& ending)
{
    EXPECT_EQ(ending.status, outcome.status) << outcome.errors;
    const std::vector<std::string> lines = LastTwoLines(outcome.errors);
    ASSERT_EQ(2U, lines.size()) << outcome.errors;
    EXPECT_EQ("zavctl: " + ending.cause, Settled(lines[0])) << outcome.errors;
    EXPECT_EQ("zavctl: remedy: " + ending.remedy, lines[1]) << outcome.errors;
    RecordProperty("cause", lines[0]);
    RecordProperty("remedy", lines[1]);
    RecordProperty("exit", outcome.status);
}

void FailureStage::RunWithoutRightsOverFiles()
{
    if (::geteuid() == 0) {
        RunBehind({"setpriv", "--bounding-set=-dac_override,-dac_read_search"});
    }
}

void FailureStage::MakeCommand(const std::string& name, const std::string& script) const
{
    WriteProgram(Directory() + "/node/bin/" + name, script);
}

void FailureStage::AwaitRequest(const Array& array, const std::string& start)
{
    WaitUntil(start, [&] {
        const std::vector<std::string> requests = array.Requests();
        return std::any_of(requests.begin(), requests.end(),
                           [&start](const std::string& request) { return request.rfind(start, 0) == 0; });
    });
}

#include "cli/array/environment_file.h"

#include "base/descriptor.h"
#include "base/files.h"
#include "base/json_reading.h"
#include "base/json_writing.h"
#include "base/printable_text.h"
#include "cli/console/failure.h"

#include <google/protobuf/util/json_util.h>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace {

constexpr std::size_t LONGEST_INPUT = 1048576; // what never ends is no environment

Failure Unreadable(const std::string& path, const std::string& reason, int error)
{
    return {ExitCodeOfFile(error), "environment " + NameOfEnvironment(path) + ": " + reason};
}

std::string ReadInput(int descriptor, const std::string& path)
{
    std::string text;
    const int error = Base::ReadToEnd(descriptor, LONGEST_INPUT, text);
    if (error != 0) {
        throw Unreadable(path, Base::ErrorText(error), error);
    }
    return text;
}

// "line 3, column 5: Syntax error: value, object or array expected.", of the JSON library's "* Line 3, Column 5", which
// has the rest on the next line. That may quote all of a text of any length: its beginning is enough.
std::string FirstComplaint(const std::string& problem)
{
    const std::size_t begin = problem.find("Line ");
    std::istringstream lines(problem.substr(std::min(begin, problem.size())));
    std::string place;
    std::string complaint;
    if (!std::getline(lines, place) || !std::getline(lines, complaint)) {
        return problem;
    }
    return boost::to_lower_copy(place) + ": " + Base::PrintableLines({boost::trim_copy(complaint)});
}

// Where the JSON itself is broken; empty where it is not. What protobuf says of that is a picture of the text.
std::string BrokenJson(const std::string& text)
{
    ::Json::CharReaderBuilder settings;
    ::Json::CharReaderBuilder::strictMode(&settings.settings_);
    ::Json::Value root;
    std::string problem;
    return Base::JsonReader(settings).Read(text, root, &problem) ? "" : FirstComplaint(problem);
}

std::string ToText(const std::string& entry)
{
    ::Json::StreamWriterBuilder builder;
    builder["emitUTF8"] = true;
    return Base::WriteJson(builder, entry);
}

std::string ToText(std::uint64_t entry)
{
    return std::to_string(entry);
}

std::string ToText(std::int32_t entry)
{
    return std::to_string(entry);
}

template <typename List>
std::string Member(const char* name, const List& list)
{
    std::vector<std::string> entries;
    for (const auto& entry : list) {
        entries.push_back(ToText(entry));
    }
    return "  \"" + std::string(name) + "\": [" + boost::join(entries, ", ") + "]";
}

} // namespace

std::string NameOfEnvironment(const std::string& path)
{
    return path == STANDARD_INPUT ? "standard input" : path;
}

std::string ReadEnvironmentText(const std::string& path)
{
    if (path == STANDARD_INPUT) {
        return ReadInput(STDIN_FILENO, path);
    }
    const Base::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)); // a shell's <(...) is waited for
    if (!file.IsOpen()) {
        const int error = errno;
        throw Unreadable(path, Base::ErrorText(error), error);
    }
    return ReadInput(file.Get(), path);
}

std::string ParseEnvironment(const std::string& text, EnvironmentPath& env)
{
    const auto status = google::protobuf::util::JsonStringToMessage(text, &env);
    if (status.ok()) {
        return {};
    }
    if (boost::trim_copy(text).empty()) {
        return "it is empty";
    }
    const std::string broken = BrokenJson(text);
    return broken.empty() ? boost::replace_all_copy(std::string(status.message()), "\n", " ") : broken;
}

EnvironmentPath ReadEnvironment(const std::string& path)
{
    EnvironmentPath env;
    const std::string problem = ParseEnvironment(ReadEnvironmentText(path), env);
    if (!problem.empty()) {
        throw Unreadable(path, problem, 0);
    }
    return env;
}

// By hand: protobuf writes numbers of 64 bits as texts, and the JSON library sorts members by name.
std::string WriteEnvironment(const EnvironmentPath& env)
{
    return "{\n" +
           boost::join(std::vector<std::string>{Member("managementIps", env.management_ips()),
                                                Member("userNames", env.user_names()),
                                                Member("encryptedPasswords", env.encrypted_passwords()),
                                                Member("certificates", env.certificates()),
                                                Member("ports", env.ports()), Member("protocols", env.protocols()),
                                                Member("allManagementIps", env.all_management_ips())},
                       ",\n") +
           "\n}\n";
}

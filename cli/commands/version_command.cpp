#include "cli/commands/commands.h"

#include "cli/commands/list_output.h"
#include "cli/commands/options.h"

#include <openssl/crypto.h>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include <link.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

namespace {

#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK
constexpr const char* FRAMEWORK = "open";
#else
constexpr const char* FRAMEWORK = "product";
#endif

/// A library that this process runs with.
struct LoadedLibrary {
    std::string name;    ///< as programs ask for it: "libcurl.so.4"
    std::string version; ///< "4.8.0"; empty where nothing tells it
    std::string path;
};

// Of OpenSSL the file's name tells less than it does.
std::string VersionOf(const std::string& name, const std::string& real)
{
    const std::string mark = ".so.";
    const std::size_t position = real.find(mark);
    if (boost::starts_with(name, "libcrypto.") || boost::starts_with(name, "libssl.")) {
        return ::OpenSSL_version(OPENSSL_VERSION_STRING);
    }
    return position == std::string::npos ? "" : real.substr(position + mark.size());
}

int AddLibrary(dl_phdr_info* info, std::size_t /*size*/, void* libraries)
{
    const boost::filesystem::path path(info->dlpi_name);
    const std::string name = path.filename().string();
    boost::system::error_code error;
    const boost::filesystem::path file = boost::filesystem::canonical(path, error);
    if (!error && name.find(".so") != std::string::npos) { // not the program itself, nor what the kernel puts there
        static_cast<std::vector<LoadedLibrary>*>(libraries)->push_back(
            {name, VersionOf(name, file.filename().string()), file.string()});
    }
    return 0;
}

std::vector<LoadedLibrary> LoadedLibraries()
{
    std::vector<LoadedLibrary> libraries;
    ::dl_iterate_phdr(&AddLibrary, &libraries);
    std::sort(libraries.begin(), libraries.end(),
              [](const LoadedLibrary& one, const LoadedLibrary& other) { return one.name < other.name; });
    return libraries;
}

// What we are built on, and not what that is built on in turn.
bool IsOurs(const LoadedLibrary& library)
{
    constexpr std::array<const char*, 9> NAMES = {"libProduct", "libcurl.",  "libssl.",    "libcrypto.", "libprotobuf.",
                                                  "libjsoncpp", "libboost_", "libspdlog.", "libstdc++."};
    return std::any_of(NAMES.begin(), NAMES.end(),
                       [&library](const char* name) { return boost::starts_with(library.name, name); });
}

ExitCode PrintVersions(Report::Format format)
{
    Json::Value head;
    head["schema"] = Report::SCHEMA;
    head["zavctl"] = PRODUCT_STORAGE_VERSION;
    head["framework"] = FRAMEWORK;
    if (format != Report::Format::Json) {
        Report::Table({{"ZAVCTL", PRODUCT_STORAGE_VERSION}, {"FRAMEWORK", FRAMEWORK}});
        Report::Print("", "");
    }
    std::vector<Json::Value> libraries;
    for (const LoadedLibrary& library : LoadedLibraries()) {
        if (format != Report::Format::Table || IsOurs(library)) {
            Json::Value& value = libraries.emplace_back();
            value["name"] = library.name;
            value["version"] = library.version;
            value["path"] = library.path;
        }
    }
    ListOutput output(
        format, head, "libraries",
        {{"LIBRARY", "name"}, {"VERSION", "version"}, {"FILE", "path", ListOutput::Column::As::Text, true}});
    output.Print(libraries);
    output.End();
    return ExitCode::Done;
}

} // namespace

void AddVersionCommand(CLI::App& app, Run& run)
{
    const auto format = std::make_shared<Report::Format>(Report::Format::Table);
    CLI::App* const command =
        app.add_subcommand("version", "Print the versions of zavctl and of the libraries that it runs with");
    Options::AddWideFormat(*command, *format);
    Options::AddExamples(*command, {"zavctl version", "zavctl version -o wide"});
    command->callback([format, &run] {
        run = [format](LogTail& /*log*/, StopSignals& /*signals*/) { return PrintVersions(*format); };
    });
}

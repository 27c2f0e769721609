#include "simulator/dataplane/fc_fabric.h"

#include "base/files.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace ZavSim {

namespace {

/// An attribute without its line end; empty when it cannot be had, as when its port has just gone.
std::string ReadAttribute(const fs::path& path)
{
    try {
        const std::string text = Base::ReadFileIfThere(path.string()).value_or("");
        return text.substr(0, text.find('\n'));
    } catch (const std::exception&) {
        return "";
    }
}

/// "0x200002000000000b" as the digits alone.
std::string ReadPortName(const fs::path& folder)
{
    const std::string name = ReadAttribute(folder / "port_name");
    return name.rfind("0x", 0) == 0 ? name.substr(2) : "";
}

std::vector<fs::path> EntriesOf(const fs::path& folder, const std::string& begin)
{
    std::vector<fs::path> entries;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().filename().string().rfind(begin, 0) == 0) {
            entries.push_back(entry.path());
        }
    }
    return entries;
}

} // namespace

std::string WithColons(const std::string& portName)
{
    std::string name;
    for (std::size_t i = 0; i < portName.size(); i += 2) {
        name += (i == 0 ? "" : ":") + portName.substr(i, 2);
    }
    return name;
}

std::set<std::string> PortsSeenBy(const std::vector<std::string>& ownPorts, const std::string& classFolder)
{
    std::set<std::string> seen;
    const std::string hostWord = "host";
    for (const fs::path& host : EntriesOf(fs::path(classFolder) / "fc_host", hostWord)) {
        if (std::find(ownPorts.begin(), ownPorts.end(), ReadPortName(host)) == ownPorts.end()) {
            continue;
        }
        // "rport-3:0-1" is a remote port of host3.
        const std::string begin = "rport-" + host.filename().string().substr(hostWord.size()) + ":";
        for (const fs::path& port : EntriesOf(fs::path(classFolder) / "fc_remote_ports", begin)) {
            const std::string name = ReadPortName(port);
            if (!name.empty() && ReadAttribute(port / "port_state") == "Online") {
                seen.insert(name);
            }
        }
    }
    return seen;
}

} // namespace ZavSim

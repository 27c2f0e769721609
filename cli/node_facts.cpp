#include "cli/node_facts.h"

#include "cli/node_initiators.h"
#include "cli/node_key.h"
#include "common/framework/config_reader.h"
#include "common/framework/product_root.h"
#include "common/framework/shell_runner.h"
#include "device/device_set_operator.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem.hpp>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <regex>

namespace fs = boost::filesystem;

namespace {

using Lines = std::vector<std::string>;

Lines OutputOf(const std::string& command)
{
    Lines out;
    Lines err;
    return runShellCmdWithOutput(severity_level::Info, "zavctl", 0, command, {}, out, err) == 0 ? out : Lines();
}

// "2.1.8" of "iscsid version 2.1.8".
std::string VersionOf(const std::string& program)
{
    static const std::regex version("version ([0-9][^ ]*)");
    std::smatch found;
    for (const std::string& line : OutputOf(program + " --version")) {
        if (std::regex_search(line, found, version)) {
            return found[1].str();
        }
    }
    return {};
}

std::vector<std::string> RecordsIn(const std::string& folder)
{
    std::vector<std::string> records;
    boost::system::error_code error;
    for (fs::directory_iterator each(folder, error), end; !error && each != end; each.increment(error)) {
        if (boost::ends_with(each->path().filename().string(), "-info.conf")) {
            records.push_back(each->path().string());
        }
    }
    std::sort(records.begin(), records.end());
    return records;
}

std::string SettingOf(const std::vector<ConfigReader::Setting>& settings, const std::string& section,
                      const std::string& key)
{
    const auto found = std::find_if(settings.begin(), settings.end(), [&](const ConfigReader::Setting& setting) {
        return setting.section == section && setting.key == key;
    });
    return found == settings.end() ? "" : found->value;
}

} // namespace

NodeFacts NodeFacts::Read()
{
    NodeFacts facts;
    std::array<char, HOST_NAME_MAX + 1> name = {};
    facts.hostName = ::gethostname(name.data(), name.size()) == 0 ? name.data() : "";
    const NodeInitiators initiators = NodeInitiators::Read();
    facts.iqn = initiators.iqn;
    facts.fcPorts = FcPorts::Look(initiators.ports);
    facts.iscsiadmVersion = VersionOf("iscsiadm");
    facts.iscsidVersion = VersionOf("iscsid");
    facts.productRoot = GetVendrixRootPath("zavctl", 0);
    facts.configuration = ConfigReader::getFile();
    facts.recordFolder =
        fs::path(DeviceSetOperator::GetDeviceSetOperator()->GetDeviceInfoCfgFile("none")).parent_path().string();
    facts.records = RecordsIn(facts.recordFolder);
    std::vector<ConfigReader::Setting> settings;
    ConfigReader::check(settings);
    facts.log = SettingOf(settings, "Log", "File");
    facts.keyFile = SettingOf(settings, "Security", "KeyFile");
    const NodeKey::Finding key = NodeKey::LookAt();
    facts.keyState = key.problem.empty() ? "usable" : key.problem;
    return facts;
}

#include "cli/node/node_facts.h"

#include "cli/node/node_initiators.h"
#include "cli/node/node_key.h"
#include "cli/node/node_shell.h"
#include "cli/node/own_files.h"
#include "common/framework/config_reader.h"
#include "common/framework/product_root.h"

#include <unistd.h>

#include <array>
#include <climits>

NodeFacts NodeFacts::Read()
{
    NodeFacts facts;
    std::array<char, HOST_NAME_MAX + 1> name = {};
    facts.hostName = ::gethostname(name.data(), name.size()) == 0 ? name.data() : "";
    const NodeInitiators initiators = NodeInitiators::Read();
    facts.iqn = initiators.iqn;
    facts.fcPorts = FcPorts::Look(initiators.ports);
    facts.iscsiadmVersion = NodeShell::VersionOf("iscsiadm").number;
    facts.iscsidVersion = NodeShell::VersionOf("iscsid").number;
    facts.productRoot = GetVendrixRootPath("zavctl", 0);
    facts.configuration = ConfigReader::getFile();
    facts.recordFolder = OwnFiles::RecordFolder();
    facts.records = OwnFiles::RecordsIn(facts.recordFolder);
    facts.log = OwnFiles::SettingText("Log", "File");
    facts.keyFile = OwnFiles::SettingText("Security", "KeyFile");
    const NodeKey::Finding key = NodeKey::LookAt();
    facts.keyState = key.problem.empty() ? "usable" : key.problem;
    return facts;
}

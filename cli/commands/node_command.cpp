#include "cli/commands/commands.h"

#include "cli/commands/options.h"
#include "cli/node/node_facts.h"

#include <boost/algorithm/string/join.hpp>

#include <memory>
#include <string>
#include <vector>

namespace {

void PrintTable(const NodeFacts& facts)
{
    const auto orNone = [](const std::string& text) { return text.empty() ? "none" : text; };
    std::vector<Report::Row> rows = {{"HOST NAME", facts.hostName}, {"ISCSI INITIATOR", orNone(facts.iqn)}};
    if (facts.fcPorts.empty()) {
        rows.push_back({"FC PORTS", "none"});
    }
    for (const FcPort& port : facts.fcPorts) {
        rows.push_back({"FC PORT", port.name + (port.state.empty() ? "" : "  " + port.state)});
    }
    rows.push_back({"ISCSIADM", orNone(facts.iscsiadmVersion)});
    rows.push_back({"ISCSID", orNone(facts.iscsidVersion)});
    rows.push_back({"PRODUCT ROOT", facts.productRoot});
    rows.push_back({"CONFIGURATION", facts.configuration});
    rows.push_back({"LOG", orNone(facts.log)});
    rows.push_back({"KEY", facts.keyFile + (facts.keyFile.empty() ? "" : ", ") + facts.keyState});
    if (facts.records.empty()) {
        rows.push_back({"RECORDS", "none in " + facts.recordFolder});
    }
    for (const std::string& record : facts.records) {
        rows.push_back({"RECORD", record});
    }
    Report::Table(rows);
}

void PrintJson(const NodeFacts& facts)
{
    Json::Value value;
    value["schema"] = Report::SCHEMA;
    value["host_name"] = facts.hostName;
    value["iscsi_initiator"] = facts.iqn;
    value["fc_ports"] = Json::Value(Json::arrayValue);
    for (const FcPort& port : facts.fcPorts) {
        Json::Value& each = value["fc_ports"].append(Json::Value());
        each["name"] = port.name;
        each["state"] = port.state;
    }
    value["iscsiadm_version"] = facts.iscsiadmVersion;
    value["iscsid_version"] = facts.iscsidVersion;
    value["product_root"] = facts.productRoot;
    value["configuration"] = facts.configuration;
    value["log"] = facts.log;
    value["key_file"] = facts.keyFile;
    value["key_state"] = facts.keyState;
    value["record_folder"] = facts.recordFolder;
    value["records"] = Report::JsonList(facts.records);
    Report::Json(value);
}

} // namespace

void AddNodeCommand(CLI::App& app, Run& run)
{
    const auto format = std::make_shared<Report::Format>(Report::Format::Table);
    CLI::App* const command = app.add_subcommand("node", "Print what this node is; no array is asked");
    Options::AddFormat(*command, *format);
    Options::AddExamples(*command, {"zavctl node", "zavctl node -o json | jq .iscsi_initiator"});
    command->callback([format, &run] {
        run = [format](LogTail& /*log*/, StopSignals& /*signals*/) {
            const NodeFacts facts = NodeFacts::Read();
            if (*format == Report::Format::Json) {
                PrintJson(facts);
            } else {
                PrintTable(facts);
            }
            return ExitCode::Done;
        };
    });
}

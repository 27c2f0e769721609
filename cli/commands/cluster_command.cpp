#include "cli/commands/commands.h"

#include "base/secret.h"
#include "cli/array/cluster_login.h"
#include "cli/commands/options.h"
#include "cli/commands/password_prompt.h"

#include <boost/algorithm/string/join.hpp>

#include <memory>
#include <string>
#include <vector>

namespace {

struct ClusterOptions {
    std::string address;
    unsigned int port = 0;
    std::string user;
    Report::Format format = Report::Format::Table;
};

/// What a cluster tells of itself.
struct ClusterFacts {
    std::string version;
    std::string serial;
    std::string productModel;
    std::vector<std::string> managementIps;
};

ClusterFacts ReadFacts(ClusterLogin& login)
{
    ClusterFacts facts;
    facts.version = login.Version();
    facts.serial = login.SerialNumber();
    facts.productModel = login.ProductModel();
    facts.managementIps = login.ManagementIps();
    return facts;
}

void PrintTable(const std::string& url, const ClusterFacts& facts)
{
    Report::Table({{"URL", url},
                   {"VERSION", facts.version},
                   {"SERIAL NUMBER", facts.serial},
                   {"PRODUCT MODEL", facts.productModel},
                   {"MANAGEMENT IPS", facts.managementIps.empty() ? "none" : boost::join(facts.managementIps, ", ")}});
}

void PrintJson(const std::string& url, const ClusterFacts& facts)
{
    Json::Value value;
    value["url"] = url;
    value["version"] = facts.version;
    value["serial_number"] = facts.serial;
    value["product_model"] = facts.productModel;
    value["management_ips"] = Report::JsonList(facts.managementIps);
    value["schema"] = Report::SCHEMA;
    Report::Json(value);
}

ExitCode RunCluster(const ClusterOptions& options, LogTail& log)
{
    std::string password;
    const Secret::ScopedWipe wipePassword(password);
    ReadPassword("Password of " + options.user, password);
    ClusterLogin login(log, options.address, std::to_string(options.port));
    login.Login(options.user, password);
    const ClusterFacts facts = ReadFacts(login);
    if (options.format == Report::Format::Json) {
        PrintJson(login.Url(), facts);
    } else {
        PrintTable(login.Url(), facts);
    }
    return ExitCode::Done;
}

} // namespace

void AddClusterCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<ClusterOptions>();
    CLI::App* const command =
        app.add_subcommand("cluster", "Print a distributed storage cluster's version, serial number, product model and "
                                      "management addresses; the password comes from a prompt or standard input");
    command->add_option("--address", options->address, "Management address, without port")->required();
    command->add_option("--port", options->port, "Its port; https is spoken there")
        ->required()
        ->option_text("N REQUIRED")
        ->check(CLI::Range(1U, 65535U));
    command->add_option("--user", options->user, "Who logs in")->required();
    Options::AddFormat(*command, options->format);
    Options::AddExamples(*command, {"zavctl cluster --address 10.20.0.8 --port 8443 --user admin",
                                    "zavctl cluster --address 10.20.0.8 --port 8443 --user admin -o json <password"});
    command->callback([options, &run] {
        run = [options](LogTail& log, StopSignals& /*signals*/) { return RunCluster(*options, log); };
    });
}

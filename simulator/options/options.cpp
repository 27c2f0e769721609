#include "simulator/options/options.h"

#include "base/host_port.h"
#include "base/printable_text.h"
#include "simulator/options/account_arguments.h"
#include "simulator/options/cluster_arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr int BAD_ARGUMENT_STATUS = 2;
constexpr std::uint64_t MOST_LUNS = 10000000;
constexpr std::uint64_t MOST_POOLS = 1000;

/// The texts as they were given, before their meaning is checked.
struct RawOptions {
    std::vector<std::string> listen;
    AccountArguments accounts{"--user", "--password-file"};
    ClusterArguments cluster;
    std::vector<std::string> faults;
    std::uint64_t idleSeconds = 1200;
};

void Declare(CLI::App& app, Options& options, RawOptions& raw)
{
    app.add_option("--listen", raw.listen, "Management address, https://ADDRESS:PORT or http://…; may be repeated");
    app.add_option("--service", options.shape.serviceAddresses, "Service (iSCSI portal) address; may be repeated");
    app.add_option("--luns", options.shape.luns, "How many LUNs the array has")
        ->check(CLI::Range(std::uint64_t(0), MOST_LUNS));
    app.add_option("--pools", options.shape.pools, "How many storage pools")
        ->check(CLI::Range(std::uint64_t(1), MOST_POOLS));
    app.add_option("--serial", options.shape.serial, "Serial number, which is the device id as well");
    app.add_option("--product-mode", options.shape.productMode, "The system's PRODUCTMODE");
    app.add_flag("--reuse-ids", options.shape.reusesIds,
                 "Give the id of an object that was deleted to the next one that is made");
    raw.accounts.Declare(app);
    raw.cluster.Declare(app);
    app.add_option("--ca", options.certificateFolder, "Folder of the certificate authority, made when missing");
    app.add_option("--state", options.stateFile, "File in which the objects survive a restart");
    app.add_option("--session-limit", options.sessions.sessions,
                   "How many sessions may stand at once on the array, and on the cluster")
        ->check(CLI::Range(1, 100000));
    app.add_option("--session-idle", raw.idleSeconds, "Seconds after which an unused session lapses")
        ->check(CLI::Range(1, 1000000));
    app.add_option("--connections", options.server.connections, "How many connections each address serves at once")
        ->check(CLI::Range(1, 4096));
    app.add_option("--journal", options.journal, "How many requests the journal keeps")->check(CLI::Range(1, 1000000));
    app.add_option("--fc-online", options.onlinePorts, "FC port name that the array sees online; may be repeated");
    app.add_option("--seed", options.seed, "Seed of faults that have a probability");
    app.add_option("--fault", raw.faults, "A fault as JSON, as for POST /zavsim/faults; may be repeated");
    DeclareDataPlane(app, options.dataPlane);
    for (CLI::Option* const option : app.get_options()) {
        if (option->get_items_expected_max() > 1) {
            option->allow_extra_args(false); // one value each time it is given
        }
    }
}

void CheckServiceAddresses(const std::vector<std::string>& addresses)
{
    for (const std::string& address : addresses) {
        if (!Base::IsNumericAddress(address)) {
            throw std::invalid_argument("--service: \"" + address + "\" is not a numeric address");
        }
    }
}

std::vector<std::string> HostsOf(const std::vector<ListenAddress>& addresses)
{
    std::vector<std::string> hosts;
    for (const ListenAddress& address : addresses) {
        if (std::find(hosts.begin(), hosts.end(), address.host) == hosts.end()) {
            hosts.push_back(address.host);
        }
    }
    return hosts;
}

void Complete(Options& options, const RawOptions& raw)
{
    for (const std::string& text : raw.listen) {
        options.listen.push_back(ParseListenAddress(text));
    }
    options.cluster = raw.cluster.Read();
    if (raw.listen.empty() && options.cluster.listen.empty()) {
        options.listen.push_back(ParseListenAddress("https://127.0.0.1:8088"));
    }
    options.shape.managementAddresses = HostsOf(options.listen);
    CheckServiceAddresses(options.shape.serviceAddresses);
    CompleteDataPlane(options.dataPlane, options.shape);
    for (std::string& port : options.onlinePorts) {
        port = CheckedPortName("--fc-online", port);
    }
    if (options.shape.serial.empty() || options.shape.serial.find_first_of("/?#% ") != std::string::npos) {
        throw std::invalid_argument(
            "--serial: it becomes part of addresses, so it cannot be empty or hold / ? # % or blanks");
    }
    options.accounts = raw.accounts.Read();
    options.sessions.idle = std::chrono::seconds(raw.idleSeconds);
    for (const std::string& text : raw.faults) {
        try {
            options.faults.push_back(FaultFromText(text));
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(std::string("--fault: ") + error.what());
        }
    }
}

} // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv, int& status)
{
    CLI::App app("zavsim: the management interfaces of a simulated storage array and a storage cluster", "zavsim");
    Options options;
    RawOptions raw;
    Declare(app, options, raw);
    try {
        app.parse(argc, argv);
        Complete(options, raw);
        return options;
    } catch (const CLI::CallForHelp& help) {
        status = app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::cerr << "zavsim: " << Base::Printable(error.what()) << std::endl;
        status = BAD_ARGUMENT_STATUS;
    } catch (const std::exception& error) {
        std::cerr << "zavsim: " << Base::Printable(error.what()) << std::endl;
        status = BAD_ARGUMENT_STATUS;
    }
    return std::nullopt;
}

} // namespace ZavSim

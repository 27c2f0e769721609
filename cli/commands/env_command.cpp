#include "cli/commands/commands.h"

#include "base/host_port.h"
#include "base/secret.h"
#include "cli/array/environment_check.h"
#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/commands/password_prompt.h"
#include "cli/console/consent.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/node/node_key.h"
#include "common/environment.h"
#include "common/framework/security.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int STANDARD_PORT = 8088;
constexpr const char* STANDARD_PROTOCOL = "https";

/// What an environment is made of. Without an address or a user, what is not given is asked for on a terminal.
struct NewOptions {
    std::vector<std::string> addresses; ///< the first is the one to log in at
    std::optional<unsigned int> port;
    std::string protocol;
    std::string user;
    bool isNewKeyWanted = false;
};

// Why an answer, or an option's value, cannot be taken; empty when it can. An IPv6 address gets its brackets later.
std::string ProblemOfGivenAddress(const std::string& address)
{
    const std::string problem = ProblemOfAddress(Base::BracketedHost(address));
    return problem.empty() ? "" : "it is " + problem;
}

std::vector<std::string> SplitAddresses(const std::string& answer)
{
    std::vector<std::string> addresses;
    boost::split(addresses, answer, boost::is_any_of(", "), boost::token_compress_on);
    return addresses;
}

std::string ProblemOfAddresses(const std::string& answer)
{
    for (const std::string& address : SplitAddresses(answer)) {
        std::string problem = ProblemOfGivenAddress(address);
        if (!problem.empty()) {
            return problem;
        }
    }
    return {};
}

std::string ProblemOfPort(const std::string& answer)
{
    return Base::ParsePort(answer).value_or(0) == 0 ? "a port is 1 to 65535" : "";
}

std::string ProblemOfProtocol(const std::string& answer)
{
    return answer == "https" || answer == "http" ? "" : "it is https or http";
}

std::string ProblemOfUser(const std::string& answer)
{
    return answer.empty() ? "there is no user without a name" : "";
}

// Asks until the answer can be taken; an empty one means `standard`.
std::string Ask(const std::string& question, const std::string& standard,
                const std::function<std::string(const std::string&)>& problemOf)
{
    for (;;) {
        std::optional<std::string> answer = Consent::Ask(question + (standard.empty() ? "" : " [" + standard + "]"));
        if (!answer) {
            throw Failure(ExitCode::Usage, "no answer was given to: " + question);
        }
        boost::trim(*answer);
        const std::string& taken = answer->empty() ? standard : *answer;
        const std::string problem = problemOf(taken);
        if (problem.empty()) {
            return taken;
        }
        Report::Step("please answer again: " + problem);
    }
}

void AskForTheRest(NewOptions& options)
{
    if (!Consent::CanBeAsked()) {
        throw Failure(ExitCode::Usage, "nobody is there to ask: tell --address and --user");
    }
    if (options.addresses.empty()) {
        options.addresses =
            SplitAddresses(Ask("Management addresses, first the one to log in at", "", ProblemOfAddresses));
    }
    if (!options.port) {
        options.port = std::stoul(Ask("Port", std::to_string(STANDARD_PORT), ProblemOfPort));
    }
    if (options.protocol.empty()) {
        options.protocol = Ask("Protocol, https or http", STANDARD_PROTOCOL, ProblemOfProtocol);
    }
    if (options.user.empty()) {
        options.user = Ask("User", "", ProblemOfUser);
    }
}

EnvironmentPath Compose(const NewOptions& options, const std::string& cipher)
{
    EnvironmentPath env;
    for (const std::string& address : options.addresses) {
        env.add_all_management_ips(Base::BracketedHost(address));
    }
    env.add_management_ips(env.all_management_ips(0));
    env.add_user_names(options.user);
    env.add_encrypted_passwords(cipher);
    env.add_certificates("array"); // any: that of another management address is verified before it is used
    env.add_ports(options.port.value_or(STANDARD_PORT));
    env.add_protocols(options.protocol == "http" ? Environment::PROTOCOL_HTTP : Environment::PROTOCOL_HTTPS);
    return env;
}

void TellWarnings(const std::string& name, const EnvironmentFindings& findings)
{
    for (const std::string& warning : findings.warnings) {
        Report::Step("warning: " + name + ": " + warning);
    }
}

// Every fault in a line of its own, then the failure.
void RequireSound(const std::string& name, const EnvironmentFindings& findings)
{
    for (const std::string& fault : findings.faults) {
        Report::Step(name + ": " + fault);
    }
    TellWarnings(name, findings);
    if (!findings.faults.empty()) {
        throw Failure(ExitCode::Unusable,
                      "environment " + name + ": " + std::to_string(findings.faults.size()) + " fault(s), see above");
    }
}

ExitCode MakeEnvironment(NewOptions options)
{
    if (options.addresses.empty() || options.user.empty()) {
        AskForTheRest(options);
    }
    const NodeKey key(options.isNewKeyWanted);
    std::string password;
    const Secret::ScopedWipe wipePassword(password);
    ReadPassword("Password of " + options.user, password);
    const std::string text = WriteEnvironment(Compose(options, key.Encrypt(password)));
    RequireSound("standard output", CheckEnvironment(text, NodeKey::ProblemOfCipher));
    std::cout << text << std::flush;
    return ExitCode::Done;
}

ExitCode CheckFile(const std::string& path)
{
    const std::string name = NameOfEnvironment(path);
    RequireSound(name, CheckEnvironment(ReadEnvironmentText(path), NodeKey::ProblemOfCipher));
    Report::Step("environment " + name + " is sound");
    return ExitCode::Done;
}

void AddNew(CLI::App& command, Run& run)
{
    const auto options = std::make_shared<NewOptions>();
    CLI::App* const add = command.add_subcommand(
        "new", "Print an environment, its password encrypted with this node's key; without --address or --user, what "
               "no option tells is asked for on a terminal. The password comes from a prompt or standard input");
    add->add_option("--address", options->addresses,
                    "Management address, without port, the first to log in at; may be repeated, or hold several with "
                    "commas between them")
        ->option_text("ADDRESS")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(ProblemOfGivenAddress);
    add->add_option("--port", options->port, "Their port (8088)")->option_text("N")->check(CLI::Range(1U, 65535U));
    add->add_option("--protocol", options->protocol, "What is spoken there (https)")
        ->option_text("https|http")
        ->check(CLI::IsMember({"https", "http"}));
    add->add_option("--user", options->user, "Who logs in")->option_text("NAME");
    Options::AddNewKey(*add, options->isNewKeyWanted);
    Options::AddExamples(*add, {"zavctl env new --address 10.20.0.1,10.20.0.2 --user admin >env.json",
                                "zavctl env new --address 10.20.0.1 --user admin --new-key <password >env.json"});
    add->callback([options, &run] {
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return MakeEnvironment(*options); };
    });
}

void AddCheck(CLI::App& command, Run& run)
{
    const auto path = std::make_shared<std::string>();
    CLI::App* const check = command.add_subcommand("check", "Name everything that is wrong with an environment");
    check->add_option("FILE", *path, "The environment's file, or - for standard input")
        ->option_text("REQUIRED")
        ->required();
    Options::AddExamples(*check, {"zavctl env check env.json", "zavctl env check - <env.json"});
    check->callback(
        [path, &run] { run = [path](LogTail& /*log*/, StopSignals& /*signals*/) { return CheckFile(*path); }; });
}

} // namespace

void AddEnvCommand(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("env", "Environments: make one, check one");
    command->require_subcommand(1);
    Options::AddExamples(*command,
                         {"zavctl env new --address 10.20.0.1 --user admin >env.json", "zavctl env check env.json"});
    AddNew(*command, run);
    AddCheck(*command, run);
}

#include "tests/framework/probe/modes.h"

#include "common/framework/config_reader.h"
#include "common/framework/http_client.h"
#include "common/framework/product_root.h"

#include <functional>
#include <iostream>
#include <map>

namespace {

int ConfigFile(const Probe::Words& /*words*/)
{
    std::cout << ConfigReader::getFile() << "\n";
    return 0;
}

int Int(const Probe::Words& words)
{
    std::cout << ConfigReader::getInt(words.at(0), words.at(1), true) << "\n";
    return 0;
}

int Root(const Probe::Words& /*words*/)
{
    std::cout << GetVendrixRootPath("Probe", 0) << "\n";
    return 0;
}

/// Made before OpenSSL is used for the first time, and so destroyed after all that OpenSSL destroys when the process
/// ends.
struct ClientOwner {
    boost::shared_ptr<QEN::IHttpClient> client;
};

ClientOwner clientOwner;

const std::map<std::string, std::function<int(const Probe::Words&)>> MODES = {
    {"client-at-exit", Probe::ClientAtExit},
    {"config-file", ConfigFile},
    {"dead-name-server", Probe::DeadNameServer},
    {"int", Int},
    {"log", Probe::Log},
    {"log-at-exit", Probe::LogAtExit},
    {"log-at-once", Probe::LogAtOnce},
    {"log-through-link", Probe::LogThroughLink},
    {"root", Root},
    {"san-secrets", Probe::SanSecrets},
    {"sealed-secrets", Probe::SealedSecrets},
    {"secrets", Probe::Secrets},
    {"secrets-without-cookie", Probe::SecretsWithoutCookie},
    {"shell-closed-descriptors", Probe::ShellClosedDescriptors},
    {"shell-ended-commands", Probe::ShellEndedCommands},
    {"shell-ignored-children", Probe::ShellIgnoredChildren},
    {"shell-reaped-children", Probe::ShellReapedChildren},
    {"shell-signals", Probe::ShellSignals},
    {"silent-lines", Probe::SilentLines},
};

} // namespace

int Probe::ClientAtExit(const Words& words)
{
    clientOwner.client = QEN::IHttpClient::CreateClient();
    TMSHttpRequest request;
    request.method = "GET";
    request.url = words.at(0);
    std::cout << clientOwner.client->SendRequest(request, 20)->GetHttpStatusCode() << "\n";
    return 0;
}

int main(int argc, char** argv)
{
    const auto mode = argc > 1 ? MODES.find(argv[1]) : MODES.end();
    if (mode == MODES.end()) {
        std::cerr << "No such mode.\n";
        return 2;
    }
    return mode->second(Probe::Words(argv + 2, argv + argc));
}

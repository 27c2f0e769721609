#include "tests/integration/cluster.h"

namespace {

std::string UrlOf(const std::string& address)
{
    return "https://" + address + ":" + Cluster::PORT;
}

Process::Arguments ArgumentsFor(const ClusterOptions& options)
{
    Process::Arguments arguments = {"--ca", options.caFolder};
    for (const std::string& address : options.addresses) {
        arguments.insert(arguments.end(), {"--cluster", UrlOf(address)});
    }
    arguments.insert(arguments.end(), options.further.begin(), options.further.end());
    return arguments;
}

} // namespace

Cluster::Cluster(const ClusterOptions& options)
    : Simulator(ArgumentsFor(options), UrlOf(options.addresses.back()))
    , m_options(options)
{
}

std::string Cluster::Url(std::size_t place) const
{
    return UrlOf(Address(place));
}

std::vector<std::string> Cluster::Requests() const
{
    std::vector<std::string> requests;
    for (const JournalEntry& entry : Journal()) {
        requests.push_back(entry.method + " " + entry.target);
    }
    return requests;
}

void Cluster::SetListening(std::size_t place, bool isListening) const
{
    Simulator::SetListening(Url(place), isListening);
}

#include "simulator/simulation.h"

#include "simulator/array/operations.h"

#include <algorithm>

namespace ZavSim {

namespace {

std::unique_ptr<const CertificateFolder> OpenCertificates(const Options& options)
{
    const auto needsTls = [](const std::vector<ListenAddress>& addresses) {
        return std::any_of(addresses.begin(), addresses.end(), [](const ListenAddress& each) { return each.tls; });
    };
    return needsTls(options.listen) || needsTls(options.cluster.listen)
               ? std::make_unique<const CertificateFolder>(options.certificateFolder)
               : nullptr;
}

std::unique_ptr<const StateFile> OpenStateFile(const Options& options)
{
    return options.stateFile.empty() ? nullptr
                                     : std::make_unique<const StateFile>(options.stateFile, options.shape.serial);
}

} // namespace

Simulation::Simulation(const Options& options, const Clock& clock)
    : m_certificates(OpenCertificates(options))
    , m_array(options.shape, options.accounts, options.sessions, clock, OpenStateFile(options))
    , m_exports(options.dataPlane, m_array)
    , m_cluster(options.cluster.shape, options.cluster.accounts, options.sessions, clock)
    , m_journal(options.journal)
    , m_faults(options.seed)
    , m_arrayService(m_array)
    , m_clusterService(m_cluster)
    , m_adminService(m_array, m_cluster, m_journal, m_faults, m_listeners)
    , m_arrayDispatcher(m_journal, m_faults)
    , m_clusterDispatcher(m_journal, m_faults)
{
    m_array.Change([&options](State& state) {
        for (const std::string& wwn : options.onlinePorts) {
            SetPortOnline(state, wwn, true);
        }
    });
    for (const Fault& fault : options.faults) {
        m_faults.Add(fault);
    }
    m_arrayDispatcher.Mount(ArrayService::PREFIX, m_arrayService);
    m_clusterDispatcher.Mount(ClusterService::SESSIONS_PREFIX, m_clusterService);
    m_clusterDispatcher.Mount(ClusterService::QUERIES_PREFIX, m_clusterService);
    for (Dispatcher* const dispatcher : {&m_arrayDispatcher, &m_clusterDispatcher}) {
        dispatcher->MountUnobserved(PageService::PREFIX, m_pageService);
        dispatcher->MountUnobserved(AdminService::PREFIX, m_adminService);
        dispatcher->MountUnobserved(&PageService::IsAskedFor, m_pageService);
    }
    AddListeners(options.listen, m_arrayDispatcher, options.server);
    AddListeners(options.cluster.listen, m_clusterDispatcher, options.server);
}

Simulation::~Simulation()
{
    m_listeners.StopAll();
    m_threads.Stop(); // a request that is being carried out may look at the listeners until then
    m_listeners.Clear();
}

void Simulation::AddListeners(const std::vector<ListenAddress>& addresses, Dispatcher& dispatcher,
                              const ServerLimits& limits)
{
    for (const ListenAddress& address : addresses) {
        const auto context = [this, host = address.host] { return m_certificates->ServerContext(host); };
        m_listeners.Add(std::make_unique<Listener>(m_threads, address, dispatcher, context, limits));
    }
}

void Simulation::Start()
{
    m_listeners.StartAll();
}

std::string Simulation::AuthorityPath() const
{
    return m_certificates ? m_certificates->AuthorityPath() : "";
}

} // namespace ZavSim

#include "simulator/simulation.h"

#include "simulator/array/operations.h"

#include <algorithm>

namespace ZavSim {

namespace {

std::unique_ptr<const CertificateFolder> OpenCertificates(const Options& options)
{
    const bool needed = std::any_of(options.listen.begin(), options.listen.end(),
                                    [](const ListenAddress& address) { return address.tls; });
    return needed ? std::make_unique<const CertificateFolder>(options.certificateFolder) : nullptr;
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
    , m_journal(options.journal)
    , m_faults(options.seed)
    , m_arrayService(m_array)
    , m_adminService(m_array, m_journal, m_faults, m_listeners)
    , m_dispatcher(m_journal, m_faults)
{
    m_array.Change([&options](State& state) {
        for (const std::string& wwn : options.onlinePorts) {
            SetPortOnline(state, wwn, true);
        }
    });
    for (const Fault& fault : options.faults) {
        m_faults.Add(fault);
    }
    m_dispatcher.Mount(ArrayService::PREFIX, m_arrayService);
    m_dispatcher.MountUnobserved(AdminService::PREFIX, m_adminService);
    for (const ListenAddress& address : options.listen) {
        const auto context = [this, host = address.host] { return m_certificates->ServerContext(host); };
        m_listeners.Add(std::make_unique<Listener>(address, m_dispatcher, context, options.server));
    }
}

Simulation::~Simulation()
{
    m_listeners.Clear();
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

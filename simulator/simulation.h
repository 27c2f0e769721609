#ifndef ZAVSIM_SIMULATION_H
#define ZAVSIM_SIMULATION_H

#include "simulator/admin/admin_service.h"
#include "simulator/array/array_service.h"
#include "simulator/cluster/cluster_service.h"
#include "simulator/dataplane/export_keeper.h"
#include "simulator/http/certificate_folder.h"
#include "simulator/http/io_threads.h"
#include "simulator/http/listener_set.h"
#include "simulator/options/options.h"
#include "simulator/page/page_service.h"

#include <memory>

namespace ZavSim {

/// Everything that one zavsim process is made of, put together from its options.
class Simulation {
public:
    /// Loads or makes certificates and state; listens on nothing yet. Throws std::runtime_error.
    explicit Simulation(const Options& options, const Clock& clock = &std::chrono::steady_clock::now);
    ~Simulation();
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    /// Clients can connect when it returns. Throws std::runtime_error naming the address that cannot be had.
    void Start();

    /// Path of the authority's certificate; empty when no address is https.
    std::string AuthorityPath() const;
    const ListenerSet& Listeners() const noexcept { return m_listeners; }

private:
    void AddListeners(const std::vector<ListenAddress>& addresses, Dispatcher& dispatcher, const ServerLimits& limits);

    std::unique_ptr<const CertificateFolder> m_certificates; ///< null when no address is https
    ArraySystem m_array;
    ExportKeeper m_exports; // of the array: behind it
    ClusterSystem m_cluster;
    Journal m_journal;
    FaultPlan m_faults;
    ListenerSet m_listeners; // above its users, which look at it; emptied in the destructor, once nobody does
    ArrayService m_arrayService;
    ClusterService m_clusterService;
    AdminService m_adminService;
    PageService m_pageService;
    Dispatcher m_arrayDispatcher;
    Dispatcher m_clusterDispatcher;
    IoThreads m_threads; // behind all that they call
};

} // namespace ZavSim

#endif

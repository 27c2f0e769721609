#ifndef ZAVSIM_CLUSTER_CLUSTER_SERVICE_H
#define ZAVSIM_CLUSTER_CLUSTER_SERVICE_H

#include "simulator/cluster/cluster_system.h"
#include "simulator/http/handler.h"

#include <json/value.h>

namespace ZavSim {

/// The cluster's management interface over HTTP: sessions, in V2 envelopes, and queries, in V1 envelopes. Everything
/// below its prefixes is answered with HTTP status 200; refusals are told in the envelope.
class ClusterService final : public HttpHandler {
public:
    static constexpr const char* SESSIONS_PREFIX = "/api/v2/";
    static constexpr const char* QUERIES_PREFIX = "/lumeda/";

    /// The cluster must outlive it.
    explicit ClusterService(ClusterSystem& cluster)
        : m_cluster(cluster)
    {
    }

    HttpAnswer Handle(const HttpRequest& request) override;

    /// In the dialect of the request. In V1 the fault's `result` chooses the form; without one, a code of the cluster's
    /// own has its usual form, any other a list.
    HttpAnswer Refuse(const HttpRequest& request, const Fault& fault) const override;

private:
    struct Resource;
    static const Resource RESOURCES[];

    HttpAnswer Login(const HttpRequest& request);
    HttpAnswer CallLoggedIn(const HttpRequest& request);

    HttpAnswer Logout(const HttpRequest& request, const Session& session);
    HttpAnswer QueryVersion(const HttpRequest& request, const Session& session);
    HttpAnswer QuerySerial(const HttpRequest& request, const Session& session);
    HttpAnswer QueryProductModel(const HttpRequest& request, const Session& session);
    HttpAnswer QueryManagementIps(const HttpRequest& request, const Session& session);

    ClusterSystem& m_cluster;
};

} // namespace ZavSim

#endif

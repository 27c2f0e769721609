#ifndef TESTS_SIMULATOR_SUPPORT_RUNNING_CLUSTER_H
#define TESTS_SIMULATOR_SUPPORT_RUNNING_CLUSTER_H

#include "tests/simulator/support/cluster_client.h"
#include "tests/simulator/support/running_simulation.h"

namespace ZavSimTest {

/// A simulation of an array, on its first listener, and of a cluster, on the others.
class ClusterTest : public SimulationTest {
protected:
    ClusterTest()
    {
        options.cluster.listen = {{false, "127.0.0.1", 0}};
        options.cluster.accounts.Add("admin", "zavsim-admin");
    }

    std::string ClusterUrl(std::size_t address = 0) const { return Url(1 + address); }

    /// Logged in.
    std::unique_ptr<ClusterClient> Client()
    {
        auto client = std::make_unique<ClusterClient>(ClusterUrl());
        EXPECT_EQ(0, client->Login().json["result"]["code"].asInt());
        return client;
    }

    Json::Value Sessions() { return Admin("GET", "sessions").json; }
};

} // namespace ZavSimTest

#endif

#ifndef TESTS_SIMULATOR_SUPPORT_RUNNING_SIMULATION_H
#define TESTS_SIMULATOR_SUPPORT_RUNNING_SIMULATION_H

#include "simulator/simulation.h"
#include "tests/simulator/support/array_client.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace ZavSimTest {

/// A simulation inside the test's process, on free ports, with a clock that the test moves.
class SimulationTest : public ::testing::Test {
protected:
    SimulationTest()
    {
        options.listen = {{false, "127.0.0.1", 0}};
        options.shape.managementAddresses = {"127.0.0.1"};
        options.accounts.Add("admin", "zavsim-admin");
        options.certificateFolder = folder.File("ca");
    }

    /// Starts it afresh with the options as they are then.
    void Start()
    {
        simulation.reset();
        simulation = std::make_unique<ZavSim::Simulation>(
            options, [this] { return ZavSim::SteadyTime(std::chrono::seconds(seconds.load())); });
        simulation->Start();
    }

    std::string Url(std::size_t listener = 0) const { return simulation->Listeners().All().at(listener)->Url(); }

    /// Logged in.
    std::unique_ptr<ArrayClient> Client()
    {
        auto client = std::make_unique<ArrayClient>(Url());
        EXPECT_CODE(ZavSim::Code::Success, client->Login());
        return client;
    }

    Reply Admin(const std::string& method, const std::string& resource, const std::string& body = "")
    {
        return ArrayClient(Url()).Raw(method, "/zavsim/" + resource, body);
    }

    TemporaryFolder folder;
    std::atomic<std::int64_t> seconds{1000};
    ZavSim::Options options;
    std::unique_ptr<ZavSim::Simulation> simulation;
};

} // namespace ZavSimTest

#endif

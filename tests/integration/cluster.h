#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_CLUSTER_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_CLUSTER_H

#include "tests/integration/simulator.h"

#include <string>
#include <vector>

/// How a simulated cluster is started.
struct ClusterOptions {
    std::vector<std::string> addresses;
    std::string caFolder; ///< empty: the stage's
    std::vector<std::string> further;
};

/// A simulated distributed storage cluster. It is steered on its last address: tests stop the first.
class Cluster : public Simulator {
public:
    static constexpr const char* PORT = "8443";

    /// Returns when it listens.
    explicit Cluster(const ClusterOptions& options);

    const std::string& Address(std::size_t place = 0) const { return m_options.addresses.at(place); }
    std::string Url(std::size_t place = 0) const;

    /// "METHOD target" of each request since the journal was last cleared.
    std::vector<std::string> Requests() const;

    void SetListening(std::size_t place, bool isListening) const;

private:
    ClusterOptions m_options;
};

#endif

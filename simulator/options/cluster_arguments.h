#ifndef ZAVSIM_OPTIONS_CLUSTER_ARGUMENTS_H
#define ZAVSIM_OPTIONS_CLUSTER_ARGUMENTS_H

#include "simulator/options/account_arguments.h"
#include "simulator/options/options.h"

#include <optional>
#include <string>
#include <vector>

namespace ZavSim {

/// The command line's part that is about the cluster.
class ClusterArguments {
public:
    void Declare(CLI::App& app);

    /// Throws std::invalid_argument naming the option and what is wrong, and std::runtime_error when a file cannot be
    /// read.
    ClusterOptions Read() const;

private:
    void CompleteIps(ClusterOptions& options) const;

    std::vector<std::string> m_listen;
    ClusterShape m_shape;
    std::optional<std::string> m_floatIp;
    std::optional<std::string> m_standbyIp;
    std::optional<std::string> m_activeIp;
    std::vector<std::string> m_ips;
    AccountArguments m_accounts{"--cluster-user", "--cluster-password-file"};
};

} // namespace ZavSim

#endif

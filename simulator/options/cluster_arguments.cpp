#include "simulator/options/cluster_arguments.h"

#include "base/host_port.h"
#include "simulator/http/target.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ZavSim {

namespace {

/// An empty text stands for an address that is not told.
std::string CheckedAddress(const std::string& option, const std::string& address)
{
    if (!address.empty() && !Base::IsNumericAddress(address)) {
        throw std::invalid_argument(option + ": \"" + address + "\" is not a numeric address");
    }
    return address;
}

/// "ADDRESS=FLOAT,STANDBY,ACTIVE"
std::pair<std::string, ManagementIps> ParseIps(const std::string& option, const std::string& text)
{
    const std::size_t equals = text.find('=');
    const auto ips = Split(equals == std::string::npos ? "" : text.substr(equals + 1), ',');
    if (ips.size() != 3) {
        throw std::invalid_argument(option + ": \"" + text + "\" is not ADDRESS=FLOAT,STANDBY,ACTIVE");
    }
    return {text.substr(0, equals),
            {CheckedAddress(option, ips[0]), CheckedAddress(option, ips[1]), CheckedAddress(option, ips[2])}};
}

} // namespace

void ClusterArguments::Declare(CLI::App& app)
{
    app.add_option("--cluster", m_listen, "Cluster's address, https://ADDRESS:PORT or http://…; may be repeated");
    app.add_option("--cluster-version", m_shape.version, "The cluster's version");
    app.add_option("--cluster-sn", m_shape.serial, "The cluster's serial number");
    app.add_option("--cluster-product-model", m_shape.productModel, "The cluster's product model");
    app.add_option("--cluster-float-ip", m_floatIp, "Floating management address that the cluster tells");
    app.add_option("--cluster-standby-ip", m_standbyIp, "Standby management address that the cluster tells");
    app.add_option("--cluster-active-ip", m_activeIp, "Active management address that the cluster tells");
    app.add_option("--cluster-ips", m_ips,
                   "ADDRESS=FLOAT,STANDBY,ACTIVE: what is told instead to clients of one --cluster address; may be "
                   "repeated");
    m_accounts.Declare(app);
}

ClusterOptions ClusterArguments::Read() const
{
    ClusterOptions options;
    for (const std::string& text : m_listen) {
        options.listen.push_back(ParseListenAddress(text));
    }
    options.shape = m_shape;
    CompleteIps(options);
    options.accounts = m_accounts.Read();
    return options;
}

void ClusterArguments::CompleteIps(ClusterOptions& options) const
{
    const auto hostAt = [&options](std::size_t place) {
        return place < options.listen.size() ? options.listen[place].host : std::string();
    };
    ManagementIps& ips = options.shape.ips;
    ips.floating = CheckedAddress("--cluster-float-ip", m_floatIp.value_or(hostAt(0)));
    ips.standby = CheckedAddress("--cluster-standby-ip", m_standbyIp.value_or(hostAt(1)));
    ips.active = CheckedAddress("--cluster-active-ip", m_activeIp.value_or(hostAt(2)));
    for (const std::string& text : m_ips) {
        const auto [address, own] = ParseIps("--cluster-ips", text);
        const auto isIt = [&wanted = address](const ListenAddress& each) { return each.host == wanted; };
        if (std::none_of(options.listen.begin(), options.listen.end(), isIt)) {
            throw std::invalid_argument("--cluster-ips: no --cluster address is \"" + address + "\"");
        }
        options.shape.ipsByAddress[address] = own;
    }
}

} // namespace ZavSim

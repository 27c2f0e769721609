#ifndef PRODUCT_STORAGE_CLI_ARRAY_CLUSTER_LOGIN_H
#define PRODUCT_STORAGE_CLI_ARRAY_CLUSTER_LOGIN_H

#include "cli/console/farewell.h"
#include "cli/console/log_follower.h"
#include "rest/nimb_rest_api.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A login into a distributed storage cluster for the length of a command. The library tries each request several times
/// with pauses between; what goes wrong meanwhile is told at once.
///
/// Every query throws Failure when no answer came, when the cluster refused, and when it told nothing.
class ClusterLogin {
public:
    /// `address` may be an IPv6 address with or without brackets. Throws Failure when no connection comes about within
    /// ten seconds.
    ClusterLogin(LogTail& log, const std::string& address, const std::string& port);
    ClusterLogin(const ClusterLogin&) = delete;
    ClusterLogin& operator=(const ClusterLogin&) = delete;

    /// Says so and logs out, where somebody is logged in.
    ~ClusterLogin();

    /// Throws Failure when the cluster cannot be reached or does not take the login.
    void Login(const std::string& user, const std::string& password);

    std::string Version();
    std::string SerialNumber();
    std::string ProductModel();

    /// Those that the cluster tells, none included.
    std::vector<std::string> ManagementIps();

    const std::string& Url() const noexcept { return m_url; }

private:
    using TextQuery = int (NimbRestApi::*)(std::string&, std::string&);

    enum class State { LoggedOut, LoggingIn, LoggedIn };

    void RequireConnection() const;
    void LogOutAtTheEnd();
    std::string QueryText(const std::string& what, TextQuery query);
    void Require(const std::string& what, int code, const std::string& errorText) const;

    const std::string m_host;
    const std::string m_port;
    const std::string m_url;
    std::optional<LogFollower> m_follower; // ends after the client, which logs out at its end
    std::unique_ptr<NimbRestApi> m_client = std::make_unique<NimbRestApi>();
    std::atomic<State> m_state = State::LoggedOut;
    const Farewell m_farewell{[this] { LogOutAtTheEnd(); }}; // last: it uses the others
};

#endif

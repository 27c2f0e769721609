#include "cli/cluster_login.h"

#include "base/host_port.h"
#include "cli/failure.h"
#include "cli/report.h"

ClusterLogin::ClusterLogin(LogTail& log, const std::string& address, const std::string& port)
    : m_host(Base::BracketedHost(address))
    , m_port(port)
    , m_url("https://" + m_host + ":" + port)
    , m_follower(log)
{
    if (!m_client.Init()) {
        throw Failure(ExitCode::Failed, m_url + ": no HTTP client can be made");
    }
}

ClusterLogin::~ClusterLogin()
{
    m_follower.PrintNow();
    Report::Step(m_url + ": logging out");
}

void ClusterLogin::Login(const std::string& user, const std::string& password)
{
    constexpr int LOGGED_IN = 1;
    Report::Step(m_url + ": trying to log in as " + user + "; each request is tried up to four times, three seconds " +
                 "apart");
    std::string errorText;
    if (m_client.Login(m_host, m_port, user, password, errorText) != LOGGED_IN) {
        throw Failure(ExitCode::Failed, m_url + ": cannot log in: " + errorText);
    }
    Report::Step(m_url + ": logged in");
}

std::string ClusterLogin::Version()
{
    return QueryText("version", &NimbRestApi::GetStorageVersion);
}

std::string ClusterLogin::SerialNumber()
{
    return QueryText("serial number", &NimbRestApi::GetSerialNum);
}

std::string ClusterLogin::ProductModel()
{
    return QueryText("product model", &NimbRestApi::GetProductMode);
}

std::vector<std::string> ClusterLogin::ManagementIps()
{
    Report::Step(m_url + ": trying to read the management addresses");
    std::vector<std::string> ips;
    std::string errorText;
    const int code = m_client.GetManagementIP(ips, errorText);
    Require("management addresses", code, errorText);
    return ips;
}

std::string ClusterLogin::QueryText(const std::string& what, TextQuery query)
{
    Report::Step(m_url + ": trying to read the " + what);
    std::string text;
    std::string errorText;
    const int code = (m_client.*query)(text, errorText);
    Require(what, code, errorText);
    if (text.empty()) {
        throw Failure(ExitCode::Failed, m_url + ": the cluster tells no " + what);
    }
    return text;
}

// A refusal comes with code 0: its text alone tells it from success.
void ClusterLogin::Require(const std::string& what, int code, const std::string& errorText) const
{
    if (code != 0) {
        throw Failure(ExitCode::Failed, m_url + ": cannot read the " + what + ", code " + std::to_string(code) +
                                            (errorText.empty() ? "" : ": " + errorText));
    }
    if (!errorText.empty()) {
        throw Failure(ExitCode::Failed, m_url + ": the cluster refuses to tell the " + what + ": " + errorText);
    }
}

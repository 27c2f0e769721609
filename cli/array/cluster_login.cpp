#include "cli/array/cluster_login.h"

#include "base/host_port.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "common/framework/http_client.h"
#include "common/result_codes.h"

#include <chrono>
#include <thread>
#include <utility>

ClusterLogin::ClusterLogin(LogTail& log, const std::string& address, const std::string& port)
    : m_host(Base::BracketedHost(address))
    , m_port(port)
    , m_url("https://" + m_host + ":" + port)
{
    RequireConnection();
    m_follower.emplace(log);
    if (!m_client->Init()) {
        throw Failure(ExitCode::OurFault, m_url + ": no HTTP client can be made");
    }
}

namespace {

// A client that is destroyed logs out, of nothing as well, four times; the process's end takes it as it is.
void LeaveToTheEnd(std::unique_ptr<NimbRestApi> client)
{
    static auto* const left = std::make_unique<std::vector<std::unique_ptr<NimbRestApi>>>().release();
    left->push_back(std::move(client));
}

} // namespace

ClusterLogin::~ClusterLogin()
{
    m_follower->PrintNow();
    if (m_state == State::LoggedIn) {
        Report::Step(m_url + ": logging out");
    } else {
        LeaveToTheEnd(std::move(m_client));
    }
}

// Each request of the client is tried four times, which an address where nobody is would cost minutes.
void ClusterLogin::RequireConnection() const
{
    constexpr int SECONDS = 10;
    const auto client = QEN::IHttpClient::CreateClient();
    Report::Step(m_url + ": connecting");
    if (client != nullptr && !client->TestConnection(m_url, SECONDS)) {
        throw Failure::OfLibrary(m_url + ": cannot connect", ExitCode::Unreachable);
    }
}

// By a signal, on another thread. A login that is under way brings a session yet.
void ClusterLogin::LogOutAtTheEnd()
{
    constexpr std::chrono::milliseconds LOOK_EVERY(5);
    while (m_state == State::LoggingIn) {
        std::this_thread::sleep_for(LOOK_EVERY);
    }
    if (m_state == State::LoggedIn) {
        m_client->Logout();
    }
}

void ClusterLogin::Login(const std::string& user, const std::string& password)
{
    constexpr int LOGGED_IN = 1;
    Report::Step(m_url + ": trying to log in as " + user + "; each request is tried up to four times, three seconds " +
                 "apart");
    std::string errorText;
    m_state = State::LoggingIn;
    const bool isLoggedIn = m_client->Login(m_host, m_port, user, password, errorText) == LOGGED_IN;
    m_state = isLoggedIn ? State::LoggedIn : State::LoggedOut;
    if (!isLoggedIn) {
        throw Failure::OfRequest(errorText.find("(libcurl ") != std::string::npos ? ExitCode::Unreachable
                                                                                  : ExitCode::LoginRefused,
                                 m_url + ": cannot log in", errorText, ResultCode::FAILED);
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
    const int code = m_client->GetManagementIP(ips, errorText);
    Require("management addresses", code, errorText);
    return ips;
}

std::string ClusterLogin::QueryText(const std::string& what, TextQuery query)
{
    Report::Step(m_url + ": trying to read the " + what);
    std::string text;
    std::string errorText;
    const int code = ((*m_client).*query)(text, errorText);
    Require(what, code, errorText);
    if (text.empty()) {
        throw Failure(ExitCode::Refused, m_url + ": the cluster tells no " + what);
    }
    return text;
}

// A refusal comes with code 0: its text alone tells it from success.
void ClusterLogin::Require(const std::string& what, int code, const std::string& errorText) const
{
    if (code != 0) {
        throw Failure::OfRequest(ExitCodeOf(code), m_url + ": cannot read the " + what, errorText, code);
    }
    if (!errorText.empty()) {
        throw Failure(ExitCode::Refused, m_url + ": the cluster refuses to tell the " + what + ": " + errorText);
    }
}

#include "common/framework/cert.h"

#include "base/host_port.h"
#include "framework/cert/alert_file.h"
#include "framework/cert/certificate_text.h"
#include "framework/cert/server_certificate.h"
#include "framework/config/current_config.h"
#include "framework/support/log_line.h"

#include <exception>

using namespace Framework;

namespace {

constexpr int PROTOCOL_HTTP = 1;
constexpr long TIMEOUT_SECONDS = 10;
constexpr std::string_view MODULE = "Cert";

TrustStore ConfiguredTrust(const ConfigValues& config)
{
    const std::string& own = config.Of(SettingId::CertTrustStore).text;
    return {own.empty() ? config.Of(SettingId::HttpCaFile).text : own};
}

// The server that `env` names. Why there is none to ask in `problem`.
bool FindServer(const EnvironmentPath& env, UrlParts& server, std::string& problem)
{
    if (env.management_ips().empty() || env.ports().empty()) {
        problem = "the environment names no management address or no port";
        return false;
    }
    if (!env.protocols().empty() && env.protocols(0) == PROTOCOL_HTTP) {
        problem = "the environment is used over http, where there is no certificate";
        return false;
    }
    const std::string host = Base::BracketedHost(env.management_ips(0));
    return ParseUrl("https://" + host + ":" + std::to_string(env.ports(0)), server, problem);
}

void RaiseAlert(const ConfigValues& config, const std::string& role, const std::string& address,
                const std::string& reason, unsigned long requestId)
{
    std::string problem;
    if (!AlertFile(config.Of(SettingId::CertAlertDir).text, role).Raise(address, reason, problem)) {
        FRAMEWORK_LOG_FOR(severity_level::Error, MODULE, requestId) << problem;
    }
}

} // namespace

bool Cert::VerifyCertForEnv(const EnvironmentPath& env, EnvironmentPath& result, const std::string& component,
                            VerifiedCertInfo& info, bool raiseAlert, const std::string& role,
                            const unsigned long& requestId)
{
    result.Clear();
    info.Clear();
    UrlParts server;
    ServerCertificate shown;
    const auto config = Config::Current();
    const bool isAsked = FindServer(env, server, shown.problem);
    if (isAsked) {
        shown = FetchServerCertificate(server, ConfiguredTrust(*config), TIMEOUT_SECONDS);
    }
    if (shown.certificate != nullptr) {
        info = DescribeCertificate(shown.certificate.get());
    }
    if (shown.problem.empty()) {
        result = env;
        result.clear_certificates();
        result.add_certificates(info.pem());
        return true;
    }
    FRAMEWORK_LOG_FOR(severity_level::Warning, component, requestId)
        << "The certificate of " << (isAsked ? server.Server() : "the environment")
        << " is not trusted: " << shown.problem << (info.subject().empty() ? "" : "; it is that of " + info.subject());
    if (raiseAlert && isAsked) {
        RaiseAlert(*config, role, env.management_ips(0), shown.problem, requestId);
    }
    return false;
}

void Cert::ResumeAlertForEnv(std::string address, const std::string& role, const unsigned long& requestId)
{
    std::string problem;
    bool isCleared = false;
    try {
        isCleared = AlertFile(Config::ReadPath(SettingId::CertAlertDir), role).Clear(address, problem);
    } catch (const std::exception& error) {
        problem = error.what();
    }
    if (!isCleared) {
        FRAMEWORK_LOG_FOR(severity_level::Error, MODULE, requestId) << problem;
    }
}

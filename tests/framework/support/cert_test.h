#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_CERT_TEST_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_CERT_TEST_H

#include "common/framework/cert.h"

#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/web_server.h"

#include <google/protobuf/util/message_differencer.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

/// One entry of an alert file.
struct Alert {
    std::string address;
    std::string reason;
};

inline bool operator==(const Alert& one, const Alert& other)
{
    return one.address == other.address && one.reason == other.reason;
}

inline std::ostream& operator<<(std::ostream& stream, const Alert& alert)
{
    return stream << alert.address << ": " << alert.reason;
}

/// A test of the certificate service, which trusts `m_ca`.
class CertTest : public FrameworkTest {
protected:
    CertTest()
    {
        WriteText(InRoot("ca.pem"), m_ca.Own().Pem());
        Configure({{"Cert", {{"TrustStore", "ca.pem"}}}});
    }

    static EnvironmentPath Environment(const WebServer& server, const std::string& address = "127.0.0.1")
    {
        EnvironmentPath env;
        env.add_management_ips(address);
        env.add_management_ips("127.0.0.9"); // the first counts
        env.add_user_names("user");
        env.add_certificates("stored");
        env.add_certificates("another");
        env.add_ports(static_cast<std::uint64_t>(server.Port()));
        env.add_protocols(0);
        return env;
    }

    bool Verify(const EnvironmentPath& env, bool raiseAlert = true, const std::string& role = "BackupNode")
    {
        m_result.add_user_names("left over");
        m_info.set_subject("left over");
        return Cert::VerifyCertForEnv(env, m_result, "Component", m_info, raiseAlert, role, 42);
    }

    /// The reason of a refusal, as the log tells it.
    std::string Refusal(const EnvironmentPath& env)
    {
        EXPECT_FALSE(Verify(env));
        EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(EnvironmentPath(), m_result));
        const std::vector<std::string> lines = LogTexts("3");
        return lines.empty() ? "" : lines.back();
    }

    std::string AlertPath(const std::string& fileName = "BackupNode.json") const
    {
        return InRoot("conf/alerts/" + fileName);
    }

    std::vector<Alert> Alerts(const std::string& fileName = "BackupNode.json") const;

    const TestCa m_ca;
    EnvironmentPath m_result;
    VerifiedCertInfo m_info;
};

#endif

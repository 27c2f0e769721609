#include "common/framework/log_proxy.h"
#include "tests/unit/keeper_test.h"

#include <stdexcept>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class CertCheckTest : public KeeperTest {
protected:
    CertCheckTest()
    {
        m_env = Environment({FIRST, SECOND, THIRD});
        m_env.add_certificates("PEM");
        m_device.url = "https://192.0.2.7:8088";
        m_device.otherMgmtIps = {SECOND, THIRD};
        TSP_RequestID.set(77);
    }
    ~CertCheckTest() override { TSP_RequestID.set(0); }

    void Check() { m_keeper.CheckEnvCertForNewMgmtIP(m_env, m_device); }

    EnvironmentPath m_env;
    Zav::DeviceInfo m_device;
};

TEST_F(CertCheckTest, CheckHasTheNewAddressVerifiedInPlaceOfTheConfiguredOnes)
{
    m_env.add_management_ips(THIRD);
    const EnvironmentPath before = m_env;
    Check();
    ASSERT_EQ(1U, m_cert.Verifications().size());
    const FakeCert::Verification verification = m_cert.Verifications().front();
    EnvironmentPath expected = m_env;
    expected.clear_management_ips();
    expected.add_management_ips("192.0.2.7");
    EXPECT_EQ(expected.SerializeAsString(), verification.env.SerializeAsString());
    EXPECT_TRUE(verification.isResultEmpty);
    EXPECT_EQ("ZavStorageDiskLib", verification.component);
    EXPECT_TRUE(verification.raiseAlert);
    EXPECT_EQ("BackupNode", verification.role);
    EXPECT_EQ(77U, verification.requestId);
    EXPECT_EQ(before.SerializeAsString(), m_env.SerializeAsString());
}

TEST_F(CertCheckTest, TrustedAddressClearsTheAlertsOfAllAddressesOfTheArray)
{
    m_cert.Trust();
    Check();
    ASSERT_THAT(m_cert.ResumedAddresses(), ElementsAre(SECOND, THIRD));
    for (const FakeCert::Resumption& resumption : m_cert.Resumptions()) {
        EXPECT_EQ("BackupNode", resumption.role);
        EXPECT_EQ(77U, resumption.requestId);
    }
    EXPECT_THAT(m_log.Lines(), ElementsAre(IsLine(1, "Enter CheckEnvCertForNewMgmtIP"),
                                           IsLineOf("CheckEnvCertForNewMgmtIP", 1,
                                                    "Succeed to verify cert for this new Zav mgmt IP:192.0.2.7"),
                                           IsLineOf("CheckEnvCertForNewMgmtIP", 1, "Resume alert for env:10.0.0.2"),
                                           IsLineOf("CheckEnvCertForNewMgmtIP", 1, "Resume alert for env:10.0.0.3"),
                                           IsLine(1, "End CheckEnvCertForNewMgmtIP")));
    for (const LogLine& line : m_log.Lines()) {
        EXPECT_EQ("ZavStorageDiskLib", line.module);
        EXPECT_EQ(77U, line.requestId);
    }
}

TEST_F(CertCheckTest, EachAlertIsToldBeforeItIsCleared)
{
    m_cert.Trust();
    std::vector<std::size_t> clearedBefore;
    m_log.Observe([&](const LogLine& line) {
        if (line.text.rfind("Resume alert for env:", 0) == 0) {
            clearedBefore.push_back(m_cert.ResumedAddresses().size());
        }
    });
    Check();
    m_log.Observe(nullptr);
    EXPECT_THAT(clearedBefore, ElementsAre(0U, 1U));
}

TEST_F(CertCheckTest, TrustedAddressOfAnArrayWithoutOthersClearsNoAlert)
{
    m_cert.Trust();
    m_device.otherMgmtIps.clear();
    Check();
    EXPECT_THAT(m_cert.Resumptions(), IsEmpty());
    EXPECT_THAT(m_log.Told(), ElementsAre(IsLine(1, "Succeed to verify cert for this new Zav mgmt IP:192.0.2.7")));
}

TEST_F(CertCheckTest, RefusedCertificateClearsNoAlert)
{
    Check();
    EXPECT_THAT(m_cert.Resumptions(), IsEmpty());
    EXPECT_THAT(m_log.Told(), ElementsAre(IsLineOf("CheckEnvCertForNewMgmtIP", 3,
                                                   "Failed to verify cert for this new Zav mgmt IP:192.0.2.7")));
}

TEST_F(CertCheckTest, ErrorOfTheServiceIsARefusal)
{
    m_cert.Trust();
    m_cert.Throw("no trust store");
    EXPECT_NO_THROW(Check());
    EXPECT_THAT(m_cert.Resumptions(), IsEmpty());
    EXPECT_THAT(m_log.Told(), ElementsAre(IsLine(3, "The certificate service failed: no trust store"),
                                          IsLine(3, "Failed to verify cert for this new Zav mgmt IP:192.0.2.7")));
}

TEST_F(CertCheckTest, AnythingThatTheServiceThrowsIsARefusal)
{
    m_cert.Trust();
    m_cert.Observe([](const std::string& /*address*/) { throw 42; });
    EXPECT_NO_THROW(Check());
    EXPECT_THAT(m_log.Told(), ElementsAre(IsLine(3, "The certificate service failed: an exception without a text"),
                                          IsLine(3, "Failed to verify cert for this new Zav mgmt IP:192.0.2.7")));
}

TEST_F(CertCheckTest, AlertThatCannotBeResumedKeepsNoOtherFromIt)
{
    m_cert.Trust();
    m_cert.Observe([](const std::string& address) {
        if (address == SECOND) {
            throw std::runtime_error("no alert file");
        }
    });
    EXPECT_NO_THROW(Check());
    EXPECT_THAT(m_cert.ResumedAddresses(), ElementsAre(THIRD));
    EXPECT_THAT(m_log.Told(), ElementsAre(IsLine(1, "Succeed to verify cert for this new Zav mgmt IP:192.0.2.7"),
                                          IsLine(1, "Resume alert for env:10.0.0.2"),
                                          IsLine(3, "Failed to resume alert for env:10.0.0.2: no alert file"),
                                          IsLine(1, "Resume alert for env:10.0.0.3")));
}

// ---- when there is nothing to verify

TEST_F(CertCheckTest, EnvironmentWithoutCertificatesIsPassedOverSilently)
{
    m_env.clear_certificates();
    Check();
    EXPECT_THAT(m_cert.Verifications(), IsEmpty());
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

TEST_F(CertCheckTest, EnvironmentWithoutAProtocolIsPassedOverSilently)
{
    m_env.clear_protocols();
    Check();
    EXPECT_THAT(m_cert.Verifications(), IsEmpty());
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

class CertCheckProtocolTest : public CertCheckTest, public ::testing::WithParamInterface<int> {};

TEST_P(CertCheckProtocolTest, AnyFirstProtocolButZeroIsPassedOverSilently)
{
    m_env.set_protocols(0, GetParam());
    m_env.add_protocols(0); // only the first counts
    Check();
    EXPECT_THAT(m_cert.Verifications(), IsEmpty());
    EXPECT_THAT(m_log.Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Protocol, CertCheckProtocolTest, ::testing::Values(1, 2, -1),
                         [](const auto& row) { return row.param < 0 ? "Negative" : std::to_string(row.param); });

// ---- what of the URL is the address

struct AddressRow {
    const char* name;
    const char* url;
    const char* address; ///< null: the URL has a wrong pattern
};

class CertCheckAddressTest : public CertCheckTest, public ::testing::WithParamInterface<AddressRow> {};

TEST_P(CertCheckAddressTest, AddressIsTheSecondPieceWithoutItsSlashes)
{
    m_device.url = GetParam().url;
    Check();
    if (GetParam().address == nullptr) {
        EXPECT_THAT(m_cert.Verifications(), IsEmpty());
        EXPECT_THAT(
            m_log.Told(),
            ElementsAre(IsLineOf("CheckEnvCertForNewMgmtIP", 3,
                                 std::string("Failed to verify cert, due to wrong url pattern :") + GetParam().url)));
    } else {
        ASSERT_EQ(1U, m_cert.Verifications().size());
        EXPECT_THAT(m_cert.Verifications().front().env.management_ips(), ElementsAre(GetParam().address));
    }
}

INSTANTIATE_TEST_SUITE_P(Url, CertCheckAddressTest,
                         ::testing::Values(AddressRow{"Usual", "https://192.0.2.7:8088", "192.0.2.7"},
                                           AddressRow{"WithoutPort", "https://192.0.2.7", "192.0.2.7"},
                                           AddressRow{"OneLetter", "https://a:1", "a"},
                                           AddressRow{"WithoutSlashes", "https:array:8088", "ray"},
                                           AddressRow{"Empty", "", nullptr},
                                           AddressRow{"WithoutColon", "192.0.2.7", nullptr},
                                           AddressRow{"WithoutAddress", "https://:8088", nullptr},
                                           AddressRow{"OneSlash", "https:/:8088", nullptr},
                                           AddressRow{"EmptyPiece", "https::8088", nullptr}),
                         [](const auto& row) { return row.param.name; });

} // namespace

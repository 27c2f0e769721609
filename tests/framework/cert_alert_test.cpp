#include "base/descriptor.h"
#include "tests/framework/support/cert_test.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The alerts of servers on several loopback addresses, whose certificates nobody trusts.
class CertAlertTest : public CertTest {
protected:
    void Refuse(const std::string& address, const std::string& role = "BackupNode")
    {
        const WebServer server(TestCa("Foreign CA").Issue(), address);
        EXPECT_FALSE(Verify(Environment(server, address), true, role));
    }

    std::vector<std::string> Addresses(const std::string& fileName = "BackupNode.json") const
    {
        std::vector<std::string> addresses;
        for (const Alert& alert : Alerts(fileName)) {
            addresses.push_back(alert.address);
        }
        return addresses;
    }
};

TEST_F(CertAlertTest, EachAddressHasOneAlert)
{
    Refuse("127.0.0.1");
    Refuse("127.0.0.2");
    Refuse("127.0.0.1");
    EXPECT_THAT(Addresses(), ElementsAre("127.0.0.2", "127.0.0.1"));
}

TEST_F(CertAlertTest, ResumeClearsTheAlertOfOneAddress)
{
    Refuse("127.0.0.1");
    Refuse("127.0.0.2");
    Cert::ResumeAlertForEnv("127.0.0.1", "BackupNode", 0);
    EXPECT_THAT(Addresses(), ElementsAre("127.0.0.2"));
    Cert::ResumeAlertForEnv("127.0.0.2", "BackupNode", 0);
    EXPECT_THAT(Addresses(), IsEmpty());
}

TEST_F(CertAlertTest, ResumeOfAnUnknownAddressChangesNothing)
{
    Cert::ResumeAlertForEnv("127.0.0.1", "BackupNode", 0);
    EXPECT_FALSE(std::filesystem::exists(InRoot("conf/alerts")));
    Refuse("127.0.0.1");
    const auto time = std::filesystem::last_write_time(AlertPath());
    Cert::ResumeAlertForEnv("127.0.0.7", "BackupNode", 0);
    EXPECT_THAT(Addresses(), ElementsAre("127.0.0.1"));
    EXPECT_EQ(time, std::filesystem::last_write_time(AlertPath()));
    EXPECT_THAT(LogTexts("4"), IsEmpty());
}

TEST_F(CertAlertTest, RolesAreApartAndNoneLeavesTheDirectory)
{
    Refuse("127.0.0.1", "../../Escape");
    Refuse("127.0.0.2", "a/b");
    Refuse("127.0.0.3", "");
    Refuse("127.0.0.4", std::string(5000, '/'));
    EXPECT_THAT(Addresses("%2E%2E%2F%2E%2E%2FEscape.json"), ElementsAre("127.0.0.1"));
    EXPECT_THAT(Addresses("a%2Fb.json"), ElementsAre("127.0.0.2"));
    EXPECT_THAT(Addresses(".json"), ElementsAre("127.0.0.3"));
    EXPECT_EQ(8, std::distance(std::filesystem::directory_iterator(InRoot("conf/alerts")), {})); // with their locks
    Cert::ResumeAlertForEnv("127.0.0.1", "a/b", 0);
    EXPECT_THAT(Addresses("a%2Fb.json"), ElementsAre("127.0.0.2"));
}

TEST_F(CertAlertTest, FileThatIsNoListOfAlertsIsSetAside)
{
    for (const std::string& text :
         {std::string("{broken"), std::string("[]"), std::string("{\"alerts\":[1]}"), std::string(3000, '[')}) {
        WriteText(AlertPath(), text);
        Refuse("127.0.0.1");
        EXPECT_THAT(Addresses(), ElementsAre("127.0.0.1"));
        EXPECT_EQ(text, ReadText(AlertPath("BackupNode.json.unreadable")));
        EXPECT_EQ(AlertPath() + " is no list of certificate alerts; it is kept as " +
                      AlertPath("BackupNode.json.unreadable"),
                  LogTexts("4").back());
    }
}

TEST_F(CertAlertTest, AlertThatCannotBeKeptIsLogged)
{
    WriteText(InRoot("conf/alerts"), "a file where the directory should be");
    Refuse("127.0.0.1");
    EXPECT_THAT(LogTexts("4"),
                ElementsAre(HasSubstr("The certificate alerts " + AlertPath() + " cannot be changed: ")));
    Cert::ResumeAlertForEnv("127.0.0.1", "BackupNode", 0);
}

TEST_F(CertAlertTest, LockThatSomebodyKeepsDelaysALoginAndDoesNotStopIt)
{
    WriteText(AlertPath("BackupNode.json.lock"), "");
    std::filesystem::permissions(AlertPath("BackupNode.json.lock"), std::filesystem::perms(0644)); // as it once was
    {
        const Base::Descriptor reader(::open(AlertPath("BackupNode.json.lock").c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(0, ::flock(reader.Get(), LOCK_EX));
        Refuse("127.0.0.1");
        EXPECT_THAT(LogTexts("4"),
                    ElementsAre("The certificate alerts " + AlertPath() + " cannot be changed: cannot lock " +
                                AlertPath() + ".lock: another process holds it"));
    }
    Refuse("127.0.0.1");
    EXPECT_THAT(Addresses(), ElementsAre("127.0.0.1"));
}

TEST_F(CertAlertTest, LockIsForTheProductsUserAlone)
{
    Refuse("127.0.0.1");
    struct stat status = {};
    ASSERT_EQ(0, ::stat(AlertPath("BackupNode.json.lock").c_str(), &status));
    EXPECT_EQ(0100600U, status.st_mode);
}

TEST_F(CertAlertTest, ThreadsThatRaiseAndClearLoseNothing)
{
    Configure({{"Cert", {{"TrustStore", "no.pem"}}}}); // refuses at once
    const auto refuse = [](int number) {
        EnvironmentPath env;
        env.add_management_ips("10.0.0." + std::to_string(number));
        env.add_ports(1);
        EnvironmentPath result;
        VerifiedCertInfo info;
        Cert::VerifyCertForEnv(env, result, "Component", info, true, "BackupNode", 0);
    };
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([number, &refuse] {
            refuse(number);
            refuse(number + 100);
            Cert::ResumeAlertForEnv("10.0.0." + std::to_string(number), "BackupNode", 0);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::string> addresses = Addresses();
    std::sort(addresses.begin(), addresses.end());
    EXPECT_THAT(addresses, ElementsAre("10.0.0.100", "10.0.0.101", "10.0.0.102", "10.0.0.103", "10.0.0.104",
                                       "10.0.0.105", "10.0.0.106", "10.0.0.107"));
}

} // namespace

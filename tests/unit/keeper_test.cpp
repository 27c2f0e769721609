#include "tests/unit/keeper_test.h"

#include "device/device_set_operator.h"

#include <algorithm>

void KeeperScope::Forget()
{
    ZavStorageDiskLib* const keeper = ZavStorageDiskLib::GetInstance();
    keeper->StopCheckThread();
    Fakes::ClearAll();
    Fakes::Http().Always("DELETE", "/sessions", NoData());
    Fakes::Clock().Advance(boost::chrono::hours(1)); // longer than a session may be idle
    keeper->DoCheck();
    DeviceSetOperator* const devices = DeviceSetOperator::GetDeviceSetOperator();
    for (const auto& [deviceId, device] : devices->GetMapDeviceOperate()) {
        devices->RemoveDeviceFromMap({"", deviceId, "", ""});
    }
    Fakes::ClearAll();
}

Zav::DeviceInfo KeeperTest::Device(const std::string& address)
{
    Zav::DeviceInfo device;
    device.url = UrlOf(address);
    device.user = "admin";
    device.password = "secret";
    device.protocol = "https";
    device.port = "8088";
    return device;
}

EnvironmentPath KeeperTest::Environment(const std::vector<std::string>& addresses)
{
    EnvironmentPath env;
    env.add_management_ips(addresses.front());
    env.add_user_names("admin");
    env.add_encrypted_passwords("cipher:secret");
    env.add_ports(8088);
    env.add_protocols(0);
    for (const std::string& address : addresses) {
        env.add_all_management_ips(address);
    }
    return env;
}

void KeeperTest::AcceptLogin(const std::string& address, const std::string& deviceId)
{
    m_http.On("POST", UrlOf(address) + "/deviceManager/rest//sessions",
              Data(R"({"deviceid": ")" + deviceId + R"(", "iBaseToken": "TOK1"})").WithCookie("session=c1; Path=/"));
}

void KeeperTest::RefuseLogin(const std::string& address, const Answer& answer)
{
    m_http.On("POST", UrlOf(address) + "/deviceManager/rest//sessions", answer);
}

void KeeperTest::LogInAndRelease(const std::string& address, const std::string& deviceId)
{
    AcceptLogin(address, deviceId);
    boost::shared_ptr<ZavRestApi> api;
    ASSERT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(address), api, m_errorText)) << m_errorText;
}

std::vector<LogLine> KeeperTest::KeeperLines() const
{
    std::vector<LogLine> lines = m_log.Told();
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const LogLine& line) { return line.module != "ZavStorageDiskLib"; }),
                lines.end());
    return lines;
}

int KeeperTest::Checks() const
{
    const std::vector<LogLine> lines = m_log.Lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const LogLine& line) {
        return line.text == "start to check expired session.";
    }));
}

void KeeperTest::LetTimePass(const boost::chrono::nanoseconds& duration)
{
    m_calls.AwaitSleep();
    m_calls.PassTime(duration);
    m_calls.AwaitSleep();
}

#include "tests/support/files.h"
#include "tests/unit/keeper_test.h"

#include <boost/make_shared.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

namespace {

/// The device-information file of one device, which lies beside this program's folder.
class InfoFile {
public:
    explicit InfoFile(const std::string& deviceId)
        : m_path(std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "conf" /
                 (deviceId + "-info.conf"))
    {
        std::filesystem::create_directories(m_path.parent_path());
        std::filesystem::remove(m_path);
    }
    InfoFile(const InfoFile&) = delete;
    InfoFile& operator=(const InfoFile&) = delete;
    ~InfoFile() { std::filesystem::remove(m_path); }

    void Write(const std::string& text) const { WriteText(m_path.string(), text); }

private:
    const std::filesystem::path m_path;
};

// This process's own: tests that run side by side share the folder of the files.
const std::string DEVICE_ID = "KEEPER-" + std::to_string(getpid());

/// A keeper whose logins are the test's.
class LoginKeeper : public ZavStorageDiskLib {
public:
    int GetLoginedZavRestApi(const Zav::DeviceInfo& info, boost::shared_ptr<ZavRestApi>& api,
                             std::string& errMsg) override
    {
        m_records.push_back(info);
        if (m_onLogin) {
            m_onLogin();
        }
        api = m_client;
        errMsg = "of the test";
        return m_code;
    }

    int m_code = 0;
    std::function<void()> m_onLogin;
    boost::shared_ptr<ZavRestApi> m_client;
    std::vector<Zav::DeviceInfo> m_records;
};

class ZavStorageDiskLibInitTest : public KeeperTest {
protected:
    /// The process's keeper logs into the first array, which has no service addresses.
    void AcceptEnvironment()
    {
        AcceptLogin(FIRST, DEVICE_ID);
        m_http.On("GET", "", NoData());
    }

    /// The lines of Init itself.
    std::vector<LogLine> InitLines() const
    {
        std::vector<LogLine> lines;
        for (const LogLine& line : KeeperLines()) {
            if (line.function == "Init") {
                lines.push_back(line);
            }
        }
        return lines;
    }

    const InfoFile m_file{DEVICE_ID};
    ZavMapInfo m_mapInfo;
};

TEST_F(ZavStorageDiskLibInitTest, InitPreparesTheArrayAndTellsWhatTiesTheNodeToIt)
{
    AcceptEnvironment();
    m_http.Always("GET", "", ArrayError(1077937498, "no such host"));
    m_shell.On("cat /sys/class/fc_host/host*/port_name", {}, 1);
    m_shell.On("cat /etc/iscsi/initiatorname.iscsi | grep InitiatorName= | awk -F '=' '{print $2}'", {}, 0)
        .Prints("iqn.node");
    EXPECT_TRUE(ZavStorageDiskLib::GetInstance()->Init(Environment({FIRST}), m_mapInfo));
    EXPECT_THAT(m_mapInfo.device_keys(), ElementsAre(DEVICE_ID));
    EXPECT_THAT(m_mapInfo.host_group_ids(), ElementsAre(FakeSan::HOST_GROUP_ID));
    EXPECT_THAT(m_mapInfo.lun_group_ids(), ElementsAre(FakeSan::LUN_GROUP_ID));
    EXPECT_THAT(m_mapInfo.map_view_ids(), ElementsAre(FakeSan::MAP_VIEW_ID));
    ASSERT_EQ(1U, m_san.Connections().size());
    EXPECT_EQ("TOK1", m_san.Connections().front().token);
    EXPECT_THAT(InitLines(), IsEmpty());
    const std::vector<std::string> requests = m_http.Lines();
    EXPECT_EQ(1, std::count(requests.begin(), requests.end(), LoginLine(FIRST))); // for both of its users
}

TEST_F(ZavStorageDiskLibInitTest, InitMarksEntryAndExit)
{
    m_keeper.Init({}, m_mapInfo);
    EXPECT_THAT(m_log.Lines().front(), IsLineOf("Init", 1, "Enter Init"));
    EXPECT_THAT(m_log.Lines().back(), IsLineOf("Init", 1, "End Init"));
}

TEST_F(ZavStorageDiskLibInitTest, InitOfAnEnvironmentWithoutArrayFails)
{
    EXPECT_FALSE(m_keeper.Init({}, m_mapInfo));
    EXPECT_THAT(InitLines(), ElementsAre(IsLine(4, "GetAllDeviceInfo failed.")));
    EXPECT_THAT(m_san.InstanceArguments(), IsEmpty());
}

TEST_F(ZavStorageDiskLibInitTest, InitOfAnArrayThatRefusesTheLoginFails)
{
    RefuseLogin(FIRST, ArrayError(9, "busy"));
    EXPECT_FALSE(m_keeper.Init(Environment({FIRST}), m_mapInfo));
    EXPECT_THAT(InitLines(), ElementsAre(IsLine(4, "GetAllDeviceInfo failed.")));
}

TEST_F(ZavStorageDiskLibInitTest, InitWhoseOwnLoginFailsSaysSoAndFails)
{
    AcceptEnvironment();
    LoginKeeper keeper;
    keeper.m_code = 9;
    EXPECT_FALSE(keeper.Init(Environment({FIRST}), m_mapInfo));
    EXPECT_THAT(InitLines(), ElementsAre(IsLine(4, "Get logined ZavRestApi object failed.")));
    ASSERT_EQ(1U, keeper.m_records.size());
    EXPECT_EQ(UrlOf(FIRST), keeper.m_records.front().url);
    EXPECT_EQ("secret", keeper.m_records.front().password);
    EXPECT_THAT(m_san.InstanceArguments(), IsEmpty());
}

TEST_F(ZavStorageDiskLibInitTest, InitWithASessionThatIsNotLoggedInSaysSoAndFails)
{
    AcceptEnvironment();
    LoginKeeper keeper;
    keeper.m_client = boost::make_shared<ZavRestApi>("never logged in");
    EXPECT_FALSE(keeper.Init(Environment({FIRST}), m_mapInfo));
    EXPECT_THAT(InitLines(), ElementsAre(IsLine(4, "Get logined session failed.")));
    EXPECT_THAT(m_san.InstanceArguments(), IsEmpty());
}

TEST_F(ZavStorageDiskLibInitTest, InitWhoseProvisioningFailsSaysSoAndFails)
{
    AcceptEnvironment();
    m_san.HaveNoManager();
    EXPECT_FALSE(ZavStorageDiskLib::GetInstance()->Init(Environment({FIRST}), m_mapInfo));
    EXPECT_THAT(InitLines(), ElementsAre(IsLine(4, "Init zav device failed.")));
    EXPECT_THAT(m_mapInfo.device_keys(), IsEmpty());
}

TEST_F(ZavStorageDiskLibInitTest, InitWipesThePasswordsOfItsRecords)
{
    AcceptEnvironment();
    LoginKeeper keeper;
    keeper.m_code = 9;
    keeper.m_onLogin = [this] { m_calls.Forget(); }; // what was wiped while the records were made
    keeper.Init(Environment({FIRST}), m_mapInfo);
    const std::vector<SystemCalls::Wipe> wipes = m_calls.Wipes();
    ASSERT_EQ(3U, wipes.size());
    EXPECT_EQ("secret", wipes[0].bytes.substr(0, 6));
    const std::string zeros(wipes[0].bytes.size(), '\0');
    EXPECT_EQ(zeros, wipes[1].bytes);
    EXPECT_EQ(zeros, wipes[2].bytes);
}

// ---- the node's LUN group

class ZavStorageDiskLibLunGroupTest : public KeeperTest {
protected:
    bool Get() { return m_keeper.GetLunGropuInfo(Device(FIRST), m_id, m_name); }

    const InfoFile m_file{DEVICE_ID};
    std::string m_id = "untouched";
    std::string m_name = "untouched";
};

TEST_F(ZavStorageDiskLibLunGroupTest, GetLunGropuInfoTellsWhatTheFileHolds)
{
    AcceptLogin(FIRST, DEVICE_ID);
    m_file.Write(R"({")" + DEVICE_ID + R"(": {"LUNGROUPID": "31", "LUNGROUPNAME": "Vendrix_x"}})");
    EXPECT_TRUE(Get());
    EXPECT_EQ("31", m_id);
    EXPECT_EQ("Vendrix_x", m_name);
    EXPECT_THAT(KeeperLines(), Not(Contains(Field(&LogLine::function, "GetLunGropuInfo"))));
    EXPECT_THAT(m_log.Lines(), Contains(IsLine(1, "Enter GetLunGropuInfo")));
    EXPECT_THAT(m_log.Lines(), Contains(IsLine(1, "End GetLunGropuInfo")));
}

TEST_F(ZavStorageDiskLibLunGroupTest, GetLunGropuInfoWithoutARecordFails)
{
    AcceptLogin(FIRST, DEVICE_ID);
    EXPECT_FALSE(Get());
    EXPECT_EQ("untouched", m_id);
    EXPECT_EQ("untouched", m_name);
}

TEST_F(ZavStorageDiskLibLunGroupTest, GetLunGropuInfoWithoutALoginFails)
{
    RefuseLogin(FIRST, ArrayError(9, "busy"));
    EXPECT_FALSE(Get());
    EXPECT_THAT(KeeperLines(), Contains(IsLineOf("GetLunGropuInfo", 4, "Get logined ZavRestApi object failed: busy")));
    EXPECT_EQ("untouched", m_id);
}

TEST_F(ZavStorageDiskLibLunGroupTest, GetLunGropuInfoWithASessionThatIsNotLoggedInFailsWithoutALine)
{
    LoginKeeper keeper;
    keeper.m_client = boost::make_shared<ZavRestApi>("never logged in");
    m_file.Write(R"({"": {"LUNGROUPID": "31", "LUNGROUPNAME": "Vendrix_x"}})");
    EXPECT_FALSE(keeper.GetLunGropuInfo(Device(FIRST), m_id, m_name));
    EXPECT_THAT(m_log.Told(), IsEmpty());
    EXPECT_EQ("untouched", m_id);
}

TEST_F(ZavStorageDiskLibLunGroupTest, GetLunGropuInfoWipesItsCopyOfTheSessionsSecrets)
{
    AcceptLogin(FIRST, DEVICE_ID);
    m_api.reset();
    ASSERT_EQ(0, m_keeper.GetLoginedZavRestApi(Device(FIRST), m_api, m_errorText));
    m_calls.Forget();
    Get();
    std::vector<std::string> secrets;
    std::map<const void*, int> passes;
    for (const SystemCalls::Wipe& wipe : m_calls.Wipes()) {
        if (const std::string text = wipe.bytes.c_str(); !text.empty()) {
            secrets.push_back(text);
            passes[wipe.place] = 0;
        }
        if (const auto secret = passes.find(wipe.place); secret != passes.end()) {
            ++secret->second;
        }
    }
    EXPECT_THAT(secrets, ElementsAre("TOK1", "session=c1"));
    EXPECT_THAT(passes, ElementsAre(Pair(::testing::_, 3), Pair(::testing::_, 3)));
}

// ---- one object, and its shape

class ZavStorageDiskLibInstanceTest : public KeeperTest {};

TEST_F(ZavStorageDiskLibInstanceTest, GetInstanceGivesOneObject)
{
    EXPECT_NE(nullptr, ZavStorageDiskLib::GetInstance());
    EXPECT_EQ(ZavStorageDiskLib::GetInstance(), ZavStorageDiskLib::GetInstance());
}

/// The slot of a virtual operation, as the platform's C++ ABI writes it into a pointer to member.
template <typename Operation>
std::size_t SlotOf(Operation operation)
{
    std::ptrdiff_t offset = 0;
    static_assert(sizeof(operation) >= sizeof(offset));
    std::memcpy(&offset, &operation, sizeof(offset));
    return static_cast<std::size_t>(offset - 1) / sizeof(void*);
}

TEST_F(ZavStorageDiskLibInstanceTest, VirtualOperationsHaveTheSlotsThatCallersWereCompiledFor)
{
    EXPECT_EQ(0U, SlotOf(&ZavStorageDiskLib::Init));
    EXPECT_EQ(1U, SlotOf(&ZavStorageDiskLib::StopCheckThread));
    EXPECT_EQ(2U, SlotOf(&ZavStorageDiskLib::GetDeviceInfoByEnv));
    EXPECT_EQ(3U, SlotOf(&ZavStorageDiskLib::CheckEnvCertForNewMgmtIP));
    EXPECT_EQ(4U, SlotOf(&ZavStorageDiskLib::TryToGetAValidMgmtIP));
    EXPECT_EQ(5U, SlotOf(&ZavStorageDiskLib::GetLunGropuInfo));
    EXPECT_EQ(6U, SlotOf(&ZavStorageDiskLib::GetLoginedZavRestApi));
}

} // namespace

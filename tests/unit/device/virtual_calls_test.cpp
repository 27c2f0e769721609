#include "device/delete_resource.h"
#include "tests/unit/device/device_set_test.h"
#include "tests/unit/device/node.h"
#include "tests/unit/device/provisioning_test.h"

using ::testing::ElementsAre;

// A derived class can replace any step: every class calls its own operations through their slots.

namespace {

using Calls = std::vector<std::string>;
using Strings = std::vector<std::string>;
using Hosts = std::set<std::string>;
using Api = boost::shared_ptr<ZavRestApi>;

// A device that lists the calls of its virtual operations, but for those of files, and performs them.
class ListingDevice : public DeviceOperate {
public:
    bool ReadDeviceInfo(const std::string& key) override
    {
        m_calls.push_back("ReadDeviceInfo");
        return DeviceOperate::ReadDeviceInfo(key);
    }
    bool GetFCInitor(Strings& wwpns) override
    {
        m_calls.push_back("GetFCInitor");
        return DeviceOperate::GetFCInitor(wwpns);
    }
    bool GetLoginTargetIP(Strings& ips) override
    {
        m_calls.push_back("GetLoginTargetIP");
        return DeviceOperate::GetLoginTargetIP(ips);
    }
    bool ReadInfoFromJson(const std::string& key, std::map<std::string, std::string>& info) override
    {
        m_calls.push_back("ReadInfoFromJson");
        return DeviceOperate::ReadInfoFromJson(key, info);
    }
    bool SetHostInfo(std::string key, CDeviceManager* manager, const std::string& name, std::string& hostId) override
    {
        m_calls.push_back("SetHostInfo");
        return DeviceOperate::SetHostInfo(key, manager, name, hostId);
    }
    bool CheckInitSub(const Zav::SessionInfo& session, const Api& api) override
    {
        m_calls.push_back("CheckInitSub");
        return DeviceOperate::CheckInitSub(session, api);
    }
    std::string GetDeviceInfoCfgFile(const std::string& key) override
    {
        m_fileCalls.push_back("GetDeviceInfoCfgFile");
        return DeviceOperate::GetDeviceInfoCfgFile(key);
    }
    bool ReadConfig(std::string& path, std::string& content) override
    {
        m_fileCalls.push_back("ReadConfig");
        return DeviceOperate::ReadConfig(path, content);
    }
    int LoginIscsiTarget(const std::string& iqn, const std::string& targetIp, const std::string& key,
                         DevChAPInfo& chap) override
    {
        m_calls.push_back("LoginIscsiTarget");
        return DeviceOperate::LoginIscsiTarget(iqn, targetIp, key, chap);
    }
    bool GetIscsiInitor(std::string& iqn) override
    {
        m_calls.push_back("GetIscsiInitor");
        return DeviceOperate::GetIscsiInitor(iqn);
    }
    bool SetIscsiInitorInfo(std::string key, CDeviceManager* manager, const Strings& targetIps, std::string& hostId,
                            std::string& hostName, Hosts& hostIds, bool createHost, const Api& api) override
    {
        m_calls.push_back("SetIscsiInitorInfo");
        return DeviceOperate::SetIscsiInitorInfo(key, manager, targetIps, hostId, hostName, hostIds, createHost, api);
    }
    bool GetHandler(CDeviceManager* manager, CHandler** handler, HANDLERTYPE type) override
    {
        m_calls.push_back("GetHandler " + std::to_string(type));
        return DeviceOperate::GetHandler(manager, handler, type);
    }
    bool WriteInfoToJson(const std::string& key, std::map<std::string, std::string>& info) override
    {
        m_calls.push_back("WriteInfoToJson");
        return DeviceOperate::WriteInfoToJson(key, info);
    }
    bool SetFCInitorInfo(std::string key, CDeviceManager* manager, std::string& hostId, std::string& hostName,
                         Hosts& hostIds, bool createHost, const Api& api) override
    {
        m_calls.push_back("SetFCInitorInfo");
        return DeviceOperate::SetFCInitorInfo(key, manager, hostId, hostName, hostIds, createHost, api);
    }
    bool CreateFCInitorOnDev(CDeviceManager* manager, const std::string& wwpn, std::string& hostId, std::string key,
                             std::string& hostName, Hosts& hostIds, bool createHost, const Api& api) override
    {
        m_calls.push_back("CreateFCInitorOnDev");
        return DeviceOperate::CreateFCInitorOnDev(manager, wwpn, hostId, key, hostName, hostIds, createHost, api);
    }

    Calls m_calls;
    Calls m_fileCalls;
};

class DeviceOperateVirtualCallsTest : public InitiatorProvisioningTest {
protected:
    bool SetInitiators(const Strings& targetIps = {})
    {
        return m_listing.SetInitiatorInfo(KEY, m_manager, targetIps, m_hostId, m_hostName, m_hostIds, true, m_array);
    }

    ListingDevice m_listing;
};

TEST_F(DeviceOperateVirtualCallsTest, FileOperationsFindAndReadTheFileThroughTheirSlots)
{
    Record info;
    EXPECT_TRUE(m_listing.ReadInfoFromJson(KEY, info));
    EXPECT_FALSE(m_listing.ReadDeviceInfo(KEY));
    EXPECT_TRUE(m_listing.WriteInfoToJson(KEY, info));
    EXPECT_THAT(m_listing.m_fileCalls, ElementsAre("GetDeviceInfoCfgFile", "ReadConfig", "GetDeviceInfoCfgFile",
                                                   "ReadConfig", "GetDeviceInfoCfgFile", "ReadConfig"));
}

TEST_F(DeviceOperateVirtualCallsTest, SetInitiatorInfoByFcGoesThroughTheSlots)
{
    Node::HasPorts({"2100"});
    EXPECT_TRUE(SetInitiators());
    EXPECT_THAT(m_listing.m_calls, ElementsAre("SetFCInitorInfo", "GetFCInitor", "CreateFCInitorOnDev", "GetHandler 11",
                                               "SetHostInfo", "GetHandler 4", "WriteInfoToJson", "WriteInfoToJson"));
}

TEST_F(DeviceOperateVirtualCallsTest, SetInitiatorInfoByIscsiGoesThroughTheSlots)
{
    Node::HasNoPorts();
    Node::HasInitiator("iqn.node");
    Node::LogsInto("10.0.0.8");
    EXPECT_TRUE(SetInitiators({"10.0.0.8"}));
    EXPECT_THAT(m_listing.m_calls, ElementsAre("SetFCInitorInfo", "GetFCInitor", "SetIscsiInitorInfo", "GetIscsiInitor",
                                               "GetHandler 7", "SetHostInfo", "GetHandler 4", "WriteInfoToJson",
                                               "WriteInfoToJson", "LoginIscsiTarget", "WriteInfoToJson"));
}

TEST_F(DeviceOperateVirtualCallsTest, UpdateConfigFileWritesThroughTheSlot)
{
    m_listing.UpdateConfigFile(KEY, m_array, "99", m_hostName);
    EXPECT_THAT(m_listing.m_calls, ElementsAre("WriteInfoToJson"));
}

TEST_F(DeviceOperateVirtualCallsTest, CheckInitGoesThroughTheSlots)
{
    WriteRecord(CompleteRecord());
    Node::HasNoPorts();
    Node::IsLoggedInto({"10.0.0.8"});
    EXPECT_TRUE(m_listing.CheckInit(Session(), {"10.0.0.8"}, m_array));
    EXPECT_THAT(m_listing.m_calls,
                ElementsAre("ReadDeviceInfo", "GetFCInitor", "GetLoginTargetIP", "ReadInfoFromJson", "CheckInitSub"));
}

// A cleanup whose steps are replaced.
class ReplacedCleanup : public DeleteResource {
public:
    int DeleteHost(const std::string& hostId, const Api& /*api*/) override { return Note("DeleteHost " + hostId); }
    int CheckAndDeleteMapView(const DeviceMessage& /*message*/, const Api& /*api*/, std::string& /*text*/) override
    {
        return Note("CheckAndDeleteMapView");
    }
    int CheckAndDeleteHostGroup(const DeviceMessage& /*message*/, const Api& /*api*/, std::string& /*text*/) override
    {
        return Note("CheckAndDeleteHostGroup");
    }
    int CheckAndDeleteLunGroup(const DeviceMessage& /*message*/, const Api& /*api*/, std::string& /*text*/) override
    {
        return Note("CheckAndDeleteLunGroup");
    }
    int GetLunIdByLunGroup(const DeviceMessage& /*message*/, const Api& /*api*/, Strings& /*ids*/,
                           std::string& /*text*/) override
    {
        return Note("GetLunIdByLunGroup");
    }
    int GetSnapshotIdByLunGroup(const DeviceMessage& /*message*/, const Api& /*api*/, Strings& /*ids*/,
                                std::string& /*text*/) override
    {
        return Note("GetSnapshotIdByLunGroup");
    }

    Calls m_calls;

private:
    int Note(const std::string& call)
    {
        m_calls.push_back(call);
        return 0;
    }
};

TEST_F(DeviceOperateVirtualCallsTest, DeleteCreatedResourceGoesThroughTheSlots)
{
    ReplacedCleanup cleanup;
    cleanup.m_deleteHost = true;
    DeviceMessage message;
    message.hostId = "12";
    message.lunGroupId = "31";
    EXPECT_EQ(0, cleanup.DeleteCreatedResource(message, Session(), m_array));
    EXPECT_THAT(cleanup.m_calls,
                ElementsAre("CheckAndDeleteMapView", "CheckAndDeleteHostGroup", "DeleteHost 12", "GetLunIdByLunGroup",
                            "GetSnapshotIdByLunGroup", "CheckAndDeleteLunGroup"));
}

// An operator whose addresses and records are others.
class ReplacedOperator : public DeviceSetOperator {
public:
    bool ReadInfoFromJson(const std::string& deviceId, std::map<std::string, std::string>& info) override
    {
        info = {{"LUNGROUPID", "31 of " + deviceId}, {"LUNGROUPNAME", "luns"}};
        return true;
    }
    bool ExtractAddressInfo(const std::string& /*url*/, std::string& address, unsigned int& port) override
    {
        address = "10.0.0.99";
        port = 99;
        return true;
    }
    bool InitDeviceManager(const Zav::SessionInfo& session, CDeviceManager** manager) override
    {
        ++m_managers;
        return m_isRefusing ? false : DeviceSetOperator::InitDeviceManager(session, manager);
    }

    int m_managers = 0;
    bool m_isRefusing = false;
};

class DeviceSetOperatorVirtualCallsTest : public DeviceTest {
protected:
    ReplacedOperator m_operator;
};

TEST_F(DeviceSetOperatorVirtualCallsTest, GetSelfLunGroupInfoReadsThroughTheSlot)
{
    std::string id;
    std::string name;
    EXPECT_TRUE(m_operator.GetSelfLunGroupInfo(Session(), id, name));
    EXPECT_EQ("31 of DEV1", id);
}

TEST_F(DeviceSetOperatorVirtualCallsTest, InitDeviceManagerTakesTheAddressThroughTheSlot)
{
    CDeviceManager* manager = m_operator.GetDeviceManager();
    EXPECT_TRUE(m_operator.InitDeviceManager(Session(), &manager));
    EXPECT_EQ("10.0.0.99", m_san.Connections().front().address);
    EXPECT_EQ(99U, m_san.Connections().front().port);
    CDeviceManager::releaseInstance(manager);
}

TEST_F(DeviceSetOperatorVirtualCallsTest, InitDeviceSetConnectsThroughTheSlot)
{
    m_operator.m_isRefusing = true;
    ZavMapInfo mapInfo;
    EXPECT_FALSE(m_operator.InitDeviceSet(Session(), {}, boost::make_shared<FakeArray>(), mapInfo));
    EXPECT_EQ(1, m_operator.m_managers);
    EXPECT_EQ(1, m_san.ManagersReleased());
}

// An operator that works with a handle of its own.
class ReconnectingOperator : public DeviceSetOperator {
public:
    bool InitDeviceManager(const Zav::SessionInfo& /*session*/, CDeviceManager** manager) override
    {
        CDeviceManager::releaseInstance(*manager);
        *manager = m_gives ? GetDeviceManager() : nullptr;
        return false;
    }

    bool m_gives = true;
};

TEST_F(DeviceSetOperatorVirtualCallsTest, InitDeviceSetReleasesTheHandleThatTheSlotPutInPlace)
{
    for (const bool gives : {true, false}) {
        m_san.Clear();
        ReconnectingOperator reconnecting;
        reconnecting.m_gives = gives;
        ZavMapInfo mapInfo;
        EXPECT_FALSE(reconnecting.InitDeviceSet(Session(), {}, boost::make_shared<FakeArray>(), mapInfo));
        EXPECT_EQ(gives ? 2 : 1, m_san.ManagersMade());
        EXPECT_EQ(m_san.ManagersMade(), m_san.ManagersReleased());
    }
}

} // namespace

#include "tests/integration/stage.h"

#include "disklib/zav_storage_disk_lib.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

/// The library in this program prepares the stage's node on simulated arrays.
class InitTest : public Stage {
protected:
    bool Init(const Array& array) { return m_keeper.Init(EnvironmentOf(array), m_mapInfo); }

    /// The requests that made something on the array or changed it.
    static std::vector<std::string> Changes(const Array& array)
    {
        std::vector<std::string> changes;
        for (const std::string& request : array.Requests()) {
            const bool isLogin = request == "POST sessions" || request == "DELETE sessions";
            if (request.rfind("GET", 0) != 0 && !isLogin) {
                changes.push_back(request);
            }
        }
        return changes;
    }

    ZavStorageDiskLib& m_keeper = *ZavStorageDiskLib::GetInstance();
    ZavMapInfo m_mapInfo;
};

TEST_F(InitTest, InitOnAFreshArrayTiesTheNodeToIt)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    ASSERT_TRUE(Init(array)) << LogText();

    const std::vector<std::string> hosts = array.Ids("host");
    const std::vector<std::string> hostGroups = array.Ids("hostgroup");
    const std::vector<std::string> lunGroups = array.Ids("lungroup");
    const std::vector<std::string> views = array.Ids("mappingview");
    ASSERT_THAT(hosts, SizeIs(1));
    ASSERT_THAT(hostGroups, SizeIs(1));
    ASSERT_THAT(lunGroups, SizeIs(1));
    ASSERT_THAT(views, SizeIs(1));
    EXPECT_THAT(array.Members("host", hosts[0], "iscsi_initiator"), ElementsAre(NODE_IQN));
    EXPECT_THAT(array.Members("hostgroup", hostGroups[0], "host"), ElementsAre(hosts[0]));
    EXPECT_THAT(array.Members("mappingview", views[0], "hostgroup"), ElementsAre(hostGroups[0]));
    EXPECT_THAT(array.Members("mappingview", views[0], "lungroup"), ElementsAre(lunGroups[0]));

    ASSERT_THAT(m_mapInfo.device_keys(), ElementsAre(array.Options().serial));
    EXPECT_THAT(m_mapInfo.host_group_ids(), ElementsAre(hostGroups[0]));
    EXPECT_THAT(m_mapInfo.host_ids(), ElementsAre(hosts[0]));
    EXPECT_THAT(m_mapInfo.lun_group_ids(), ElementsAre(lunGroups[0]));
    EXPECT_THAT(m_mapInfo.map_view_ids(), ElementsAre(views[0]));
    const std::string name = array.Object("mappingview", views[0])["name"].asString();
    EXPECT_THAT(name, AllOf(StartsWith("Vendrix_"), SizeIs(30)));
    EXPECT_THAT(m_mapInfo.host_group_names(), ElementsAre(name));
    EXPECT_THAT(m_mapInfo.host_names(), ElementsAre(name));
    EXPECT_THAT(m_mapInfo.lun_group_names(), ElementsAre(name));
    EXPECT_THAT(m_mapInfo.map_view_names(), ElementsAre(name));

    EXPECT_THAT(ReadRecord(RecordPath(array)),
                ElementsAre(Pair("HOSTGROUPID", hostGroups[0]), Pair("HOSTGROUPNAME", name), Pair("HOSTID", hosts[0]),
                            Pair("HOSTNAME", name), Pair("IQN", NODE_IQN), Pair("ISCSIINITIATORNAME", NODE_IQN),
                            Pair("LUNGROUPID", lunGroups[0]), Pair("LUNGROUPNAME", name), Pair("MAPVIEWID", views[0]),
                            Pair("MAPVIEWNAME", name), Pair("PROTOCOLTYPE", "iscsi")));
}

TEST_F(InitTest, InitLogsTheNodeIntoTheFirstServiceAddressThatAnswers)
{
    ArrayOptions options;
    options.serviceIps = {Address(8), Address(9)};
    const Array& array = StartArray(options);
    StartTargets({Address(9)});
    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(LogText(), AllOf(HasSubstr("Target address is unreachable, address is " + Address(8)),
                                 HasSubstr("login iscsi target success! target ip is" + Address(9))));
    const Base::ProgramResult sessions = RunToEnd({ProgramPath("node/iscsiadm"), "-m", "session", "-P", "1"});
    EXPECT_THAT(sessions.output, HasSubstr("Current Portal: " + Address(9) + ":3260,1"));
}

TEST_F(InitTest, InitAgainFindsEverythingInPlaceAndMakesNothing)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    ASSERT_TRUE(Init(array)) << LogText();
    const ZavMapInfo first = m_mapInfo;
    array.ClearJournal();

    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(Changes(array), IsEmpty());
    EXPECT_EQ(first.SerializeAsString(), m_mapInfo.SerializeAsString());
    EXPECT_THAT(LogText(), HasSubstr("End to Check Init Message: No need to Init again!"));
}

TEST_F(InitTest, InitOfANewProcessContinuesFromTheRecord)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string env = EnvironmentFileOf(array);
    const Base::ProgramResult first = RunZavctl({"init", "--env", env, "-o", "json"});
    ASSERT_EQ(0, first.status) << first.errors;
    array.ClearJournal();

    const Base::ProgramResult second = RunZavctl({"init", "--env", env, "-o", "json"});
    ASSERT_EQ(0, second.status) << second.errors;
    EXPECT_EQ(first.output, second.output);
    // The initiator is fetched by an attempt to create it; nothing else is asked for.
    EXPECT_THAT(Changes(array), Each("POST iscsi_initiator"));
    EXPECT_EQ("NOT", ReadRecord(ZavctlRecordPath(array))["DONOTDELETEHOST"]);
}

TEST_F(InitTest, InitAfterTheMappingViewIsGoneCleansUpAndStartsAnew)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    ASSERT_TRUE(Init(array)) << LogText();
    const ZavMapInfo first = m_mapInfo;
    array.DeleteBehindBack("mappingview", first.map_view_ids(0));

    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(LogText(), AllOf(HasSubstr("The MapView has been deleted!"), HasSubstr("End DeleteCreatedResource!")));
    EXPECT_NE(first.map_view_ids(0), m_mapInfo.map_view_ids(0));
    EXPECT_THAT(array.Ids("mappingview"), ElementsAre(m_mapInfo.map_view_ids(0)));
    EXPECT_THAT(array.Ids("hostgroup"), ElementsAre(m_mapInfo.host_group_ids(0)));
    EXPECT_THAT(array.Ids("lungroup"), ElementsAre(m_mapInfo.lun_group_ids(0)));
    EXPECT_THAT(array.Ids("host"), ElementsAre(m_mapInfo.host_ids(0)));
    EXPECT_THAT(array.Members("hostgroup", m_mapInfo.host_group_ids(0), "host"), ElementsAre(m_mapInfo.host_ids(0)));
}

TEST_F(InitTest, InitAfterItsIdWentToAnotherLunGroupTakesNothingOutOfThatOne)
{
    ArrayOptions options;
    options.further = {"--reuse-ids"};
    const Array& array = StartArray(options);
    StartTargets(array.Options().serviceIps);
    ASSERT_TRUE(Init(array)) << LogText();
    const std::string lunGroup = m_mapInfo.lun_group_ids(0);
    // Somebody deletes the node's LUN group; the array gives its id to the next one, which another host is to use.
    array.DeleteBehindBack("lungroup", lunGroup);
    ASSERT_EQ(lunGroup, array.Operate("POST", "lungroup", R"({"NAME": "production", "TYPE": "256"})")["ID"].asString());
    for (const char* const lun : {"3", "4"}) {
        array.Operate("POST", "lungroup/associate",
                      R"({"TYPE": "256", "ID": ")" + lunGroup + R"(", "ASSOCIATEOBJTYPE": "11", "ASSOCIATEOBJID": ")" +
                          lun + R"("})");
    }

    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(array.Members("lungroup", lunGroup, "lun"), ElementsAre("3", "4"));
    EXPECT_EQ("production", array.Object("lungroup", lunGroup)["name"].asString());
    EXPECT_NE(lunGroup, m_mapInfo.lun_group_ids(0));
    EXPECT_THAT(array.Ids("mappingview"), SizeIs(1));
}

TEST_F(InitTest, InitThatStopsHalfWayIsContinuedByTheNext)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    ASSERT_TRUE(Init(array)) << LogText();
    array.DeleteBehindBack("host", m_mapInfo.host_ids(0));
    array.AddFault(R"({"kind": "code", "code": 50331651, "method": "POST", "target": "hostgroup", "count": 1})");
    EXPECT_FALSE(Init(array));
    EXPECT_THAT(ReadRecord(RecordPath(array)), Not(Contains(Pair("MAPVIEWID", ::testing::_))));

    ASSERT_TRUE(Init(array)) << LogText();
    const std::string view = m_mapInfo.map_view_ids(0);
    EXPECT_THAT(array.Members("mappingview", view, "hostgroup"), ElementsAre(m_mapInfo.host_group_ids(0)));
    EXPECT_THAT(array.Members("hostgroup", m_mapInfo.host_group_ids(0), "host"), ElementsAre(m_mapInfo.host_ids(0)));
    EXPECT_THAT(array.Members("host", m_mapInfo.host_ids(0), "iscsi_initiator"), ElementsAre(NODE_IQN));
}

TEST_F(InitTest, InitWithoutTheFirstManagementAddressTakesTheSecondAndVerifiesItsCertificate)
{
    ArrayOptions options;
    options.managementIps = {Address(0), Address(1)};
    const Array& array = StartArray(options);
    StartTargets(array.Options().serviceIps);
    array.SetListening(0, false);

    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(LogText(), AllOf(HasSubstr("Succeed to login Zav device using this mgmt IP URL:  " + array.Url(1)),
                                 HasSubstr("Succeed to verify cert for this new Zav mgmt IP:" + Address(1)),
                                 HasSubstr("Resume alert for env:" + Address(1))));
    EXPECT_THAT(array.Ids("mappingview"), SizeIs(1));
}

TEST_F(InitTest, InitUsesAHostThatTheNodeHasAlreadyAndLeavesItOnCleanup)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    const std::string host =
        array.Operate("POST", "host", R"({"NAME": "operators-host", "TYPE": "21"})")["ID"].asString();
    array.Operate("POST", "iscsi_initiator", R"({"ID": ")" + std::string(NODE_IQN) + R"(", "TYPE": "222"})");
    array.Operate("PUT", "iscsi_initiator/add_iscsi_to_host",
                  R"({"TYPE": "222", "ID": ")" + std::string(NODE_IQN) + R"(", "PARENTTYPE": "21", "PARENTID": ")" +
                      host + R"("})");
    const std::string env = EnvironmentFileOf(array);
    const Base::ProgramResult init = RunZavctl({"init", "--env", env});
    ASSERT_EQ(0, init.status) << init.errors;
    const std::map<std::string, std::string> record = ReadRecord(ZavctlRecordPath(array));
    EXPECT_THAT(record, AllOf(Contains(Pair("HOSTID", host)), Contains(Pair("HOSTNAME", "operators-host")),
                              Contains(Pair("DONOTDELETEHOST", "NOT"))));
    EXPECT_THAT(record.at("HOSTGROUPNAME"), StartsWith("Vendrix_"));
    EXPECT_THAT(array.Members("hostgroup", record.at("HOSTGROUPID"), "host"), ElementsAre(host));

    const Base::ProgramResult cleanup = RunZavctl({"cleanup", "--env", env});
    ASSERT_EQ(0, cleanup.status) << cleanup.errors;
    EXPECT_THAT(array.Ids("host"), ElementsAre(host));
    EXPECT_THAT(array.Members("host", host, "iscsi_initiator"), ElementsAre(NODE_IQN));
    EXPECT_THAT(array.Ids("hostgroup"), IsEmpty());
    EXPECT_THAT(array.Ids("mappingview"), IsEmpty());
    EXPECT_THAT(array.Ids("lungroup"), IsEmpty());
}

TEST_F(InitTest, InitOnANodeWithOnlineFcPortsGoesByFc)
{
    const Array& array = StartArray();
    SetFcPorts({"0x21000024ff4b8c1a", "0x21000024ff4b8c1b"});
    array.SetFcPortOnline("21000024ff4b8c1b", true);

    ASSERT_TRUE(Init(array)) << LogText();
    const std::string host = m_mapInfo.host_ids(0);
    EXPECT_THAT(array.Members("host", host, "fc_initiator"), ElementsAre("21000024ff4b8c1a", "21000024ff4b8c1b"));
    EXPECT_THAT(array.Ids("iscsi_initiator"), IsEmpty());
    EXPECT_THAT(array.Members("hostgroup", m_mapInfo.host_group_ids(0), "host"), ElementsAre(host));
    EXPECT_EQ(";21000024ff4b8c1a;21000024ff4b8c1b", ReadRecord(RecordPath(array))["FCINITIATORNAME"]);

    // A second run is content with FC: no iSCSI session is looked for.
    array.ClearJournal();
    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(Changes(array), IsEmpty());
}

TEST_F(InitTest, InitOnANodeWhoseFcPortsAreOfflineGoesByIscsiOnTheSameHost)
{
    const Array& array = StartArray();
    StartTargets(array.Options().serviceIps);
    SetFcPorts({"0x21000024ff4b8c1a"});

    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(array.Ids("host"), ElementsAre(m_mapInfo.host_ids(0)));
    EXPECT_THAT(array.Members("host", m_mapInfo.host_ids(0), "iscsi_initiator"), ElementsAre(NODE_IQN));
    EXPECT_THAT(ReadRecord(RecordPath(array)), Not(Contains(Pair("FCINITIATORNAME", ::testing::_))));
}

TEST_F(InitTest, InitOverPlainHttpWorksTheSame)
{
    ArrayOptions options;
    options.protocol = "http";
    const Array& array = StartArray(options);
    StartTargets(array.Options().serviceIps);
    ASSERT_TRUE(Init(array)) << LogText();
    EXPECT_THAT(array.Ids("mappingview"), SizeIs(1));
}

TEST_F(InitTest, InitOfTwoArraysFromManyThreadsPreparesEachOnce)
{
    const std::vector<const Array*> arrays = {&StartArray(), &StartArray()};
    StartTargets({arrays[0]->Options().serviceIps[0], arrays[1]->Options().serviceIps[0]});
    constexpr int THREADS = 8;
    std::vector<std::thread> threads;
    std::vector<int> results(THREADS, -1);
    std::vector<EnvironmentPath> envs = {EnvironmentOf(*arrays[0]), EnvironmentOf(*arrays[1])};
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            ZavMapInfo info;
            results[static_cast<std::size_t>(i)] = m_keeper.Init(envs[static_cast<std::size_t>(i % 2)], info) ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(results, Each(1)) << LogText();
    for (const Array* const array : arrays) {
        EXPECT_THAT(array->Ids("mappingview"), SizeIs(1));
        EXPECT_THAT(array->Ids("host"), SizeIs(1));
        EXPECT_EQ(1U, array->SessionCount()) << "all callers of one URL share one login";
    }
}

} // namespace

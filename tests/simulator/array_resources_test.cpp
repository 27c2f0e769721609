#include "tests/simulator/support/running_simulation.h"

#include "simulator/json/json_io.h"

#include <gmock/gmock.h>
#include <json/writer.h>

namespace ZavSimTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ZavSim::Code;

std::vector<std::string> Column(const Reply& reply, const char* member)
{
    std::vector<std::string> values;
    for (const Json::Value& record : reply.Data()) {
        values.push_back(record[member].asString());
    }
    return values;
}

/// {"A":"b",…} from pairs.
std::string Body(const std::map<std::string, std::string>& members)
{
    Json::Value body(Json::objectValue);
    for (const auto& [name, value] : members) {
        body[name] = value;
    }
    return ZavSim::WriteJson(body);
}

/// Every value inside "data" is a text, whatever the resource.
void ExpectTextsOnly(const Json::Value& data)
{
    for (const Json::Value& value : data) {
        if (value.isObject()) {
            ExpectTextsOnly(value);
        } else {
            EXPECT_TRUE(value.isString()) << value;
        }
    }
}

class ArrayResourcesTest : public SimulationTest {
protected:
    ArrayResourcesTest()
    {
        options.shape.luns = 40;
        options.shape.pools = 3;
        options.shape.serial = "SN42";
        options.shape.productMode = "61";
        options.shape.serviceAddresses = {"127.0.0.5", "127.0.0.6"};
        options.onlinePorts = {"21000024FF4B8C1A"};
        Start();
        client = Client();
    }

    Reply AddToHost(const std::string& host)
    {
        return client->Put("iscsi_initiator/add_iscsi_to_host",
                           Body({{"TYPE", "222"}, {"ID", iqn}, {"PARENTTYPE", "21"}, {"PARENTID", host}}));
    }

    Reply MapGroup(const char* change, const std::string& view, const char* type, const std::string& group)
    {
        return client->Put(
            std::string("mappingview/") + change + "_ASSOCIATE",
            Body({{"TYPE", "245"}, {"ID", view}, {"ASSOCIATEOBJTYPE", type}, {"ASSOCIATEOBJID", group}}));
    }

    std::unique_ptr<ArrayClient> client;
    const std::string iqn = "iqn.2020-01.example.node:0123";
    const std::string wwn = "21000024ff4b8c1a";
};

TEST_F(ArrayResourcesTest, SystemHasSerialAndProductModeWithAndWithoutSlash)
{
    for (const char* const resource : {"system/", "system"}) {
        const Reply reply = client->Get(resource);
        EXPECT_EQ("SN42", reply.Data()["ID"].asString());
        EXPECT_EQ("61", reply.Data()["PRODUCTMODE"].asString());
        ExpectTextsOnly(reply.Data());
    }
}

TEST_F(ArrayResourcesTest, LunCountAndSingleLun)
{
    EXPECT_EQ("40", client->Get("lun/count").Data()["COUNT"].asString());
    const Reply lun = client->Get("lun/17");
    EXPECT_EQ("17", lun.Data()["ID"].asString());
    EXPECT_EQ("LUN_000017", lun.Data()["NAME"].asString());
    EXPECT_CODE(Code::LunGone, client->Get("lun/40"));
    EXPECT_CODE(Code::LunGone, client->Get("lun/x"));
}

TEST_F(ArrayResourcesTest, LunPageEndsBeforeTheUpperBound)
{
    EXPECT_THAT(Column(client->Get("lun?range=[0-3]"), "ID"), ElementsAre("0", "1", "2"));
    EXPECT_THAT(Column(client->Get("lun?range=[38-100]"), "ID"), ElementsAre("38", "39"));
    EXPECT_THAT(Column(client->Get("lun?range=%5B5-6%5D"), "ID"), ElementsAre("5"));
    const Reply beyond = client->Get("lun?range=[40-140]");
    EXPECT_CODE(Code::Success, beyond);
    EXPECT_TRUE(beyond.Data().isArray());
    EXPECT_EQ(0U, beyond.Data().size());
    EXPECT_EQ(40U, client->Get("lun").Data().size()) << "the first hundred without a range";
}

TEST_F(ArrayResourcesTest, WhatClientsMadeIsListedByPages)
{
    EXPECT_EQ(0U, client->Get("host").json["data"].size());
    EXPECT_TRUE(client->Get("host").json["data"].isArray());
    for (const char* const name : {"a", "b", "c"}) {
        client->Post("host", std::string(R"({"NAME":")") + name + R"("})");
        client->Post("mappingview", std::string(R"({"NAME":")") + name + R"("})");
    }
    const Json::Value page = client->Get("host?range=[1-100]").json["data"];
    ASSERT_EQ(2U, page.size());
    EXPECT_EQ("b", page[0]["NAME"].asString());
    EXPECT_EQ("3", page[1]["ID"].asString());
    EXPECT_EQ(1U, client->Get("mappingview?range=[0-1]").json["data"].size());
    EXPECT_EQ(0U, client->Get("lungroup?range=[5-9]").json["data"].size());
    EXPECT_CODE(Code::ParameterBad, client->Get("host?range=5-9"));
}

TEST_F(ArrayResourcesTest, LunPageWithABadRangeIsRefused)
{
    for (const char* const range : {"0-3", "[3-0]", "[0-3", "[a-b]", "[0]", "[0-1-2]", "[-1-3]", "[]"}) {
        EXPECT_CODE(Code::ParameterBad, client->Get(std::string("lun?range=") + range)) << range;
    }
    EXPECT_CODE(Code::PageTooWide, client->Get("lun?range=[0-100001]"));
    EXPECT_CODE(Code::Success, client->Get("lun?range=[0-100000]"));
}

TEST_F(ArrayResourcesTest, LunRecordsHaveWhatClientsRead)
{
    const Reply page = client->Get("lun?range=[0-40]");
    ExpectTextsOnly(page.Data());
    std::set<std::string> wwns;
    for (const Json::Value& lun : page.Data()) {
        wwns.insert(lun["WWN"].asString());
        EXPECT_EQ(32U, lun["WWN"].asString().size());
        EXPECT_LT(std::stoul(lun["PARENTID"].asString()), 3U);
        EXPECT_EQ("1", lun["HEALTHSTATUS"].asString());
        EXPECT_TRUE(lun.isMember("ALLOCTYPE"));
        const auto bytes = std::stoull(lun["CAPACITY"].asString()) * std::stoull(lun["SECTORSIZE"].asString());
        EXPECT_EQ(0U, bytes % (1ULL << 30)) << lun;
        EXPECT_GT(bytes, 0U);
    }
    EXPECT_EQ(40U, wwns.size());
    EXPECT_EQ("4096", page.Data()[15]["SECTORSIZE"].asString());
}

TEST_F(ArrayResourcesTest, PoolsAddUpToWhatTheirLunsTake)
{
    const Reply pools = client->Get("storagepool");
    ASSERT_EQ(3U, pools.Data().size());
    ExpectTextsOnly(pools.Data());
    std::vector<unsigned long long> consumed(3);
    const Reply luns = client->Get("lun?range=[0-40]");
    for (const Json::Value& lun : luns.Data()) {
        consumed[std::stoul(lun["PARENTID"].asString())] +=
            std::stoull(lun["CAPACITY"].asString()) * std::stoull(lun["SECTORSIZE"].asString());
    }
    for (Json::ArrayIndex i = 0; i < 3; ++i) {
        const Json::Value& pool = pools.Data()[i];
        const auto bytes = [&](const char* member) {
            return std::stoull(pool[member].asString()) * std::stoull(pool.get("SECTORSIZE", "512").asString());
        };
        EXPECT_EQ(consumed[i], bytes("USERCONSUMEDCAPACITY"));
        EXPECT_EQ(bytes("USERTOTALCAPACITY"), bytes("USERCONSUMEDCAPACITY") + bytes("USERFREECAPACITY"));
        EXPECT_EQ(i % 2 == 1, pool.isMember("SECTORSIZE"));
    }
}

TEST_F(ArrayResourcesTest, EthPortsAreSelectedByTheirUse)
{
    EXPECT_THAT(Column(client->Get("eth_port?selectType=2"), "IPV4ADDR"), ElementsAre("127.0.0.1"));
    EXPECT_THAT(Column(client->Get("eth_port?LOGICTYPE=0"), "IPV4ADDR"), ElementsAre("127.0.0.5", "127.0.0.6"));
    EXPECT_THAT(Column(client->Get("eth_port"), "IPV4ADDR"), ElementsAre("127.0.0.1", "127.0.0.5", "127.0.0.6"));
    EXPECT_THAT(Column(client->Get("eth_port"), "ID"), ElementsAre("0", "1", "2"));
    EXPECT_CODE(Code::ParameterBad, client->Get("eth_port?LOGICTYPE=9"));
}

TEST_F(ArrayResourcesTest, EthPortOfAnIpv6AddressHasNoIpv4Address)
{
    options.shape.managementAddresses = {"::1", "127.0.0.1"};
    Start();
    const Reply ports = Client()->Get("eth_port?selectType=2");
    EXPECT_FALSE(ports.Data()[0].isMember("IPV4ADDR"));
    EXPECT_EQ("::1", ports.Data()[0]["IPV6ADDR"].asString());
    EXPECT_EQ("127.0.0.1", ports.Data()[1]["IPV4ADDR"].asString());
}

TEST_F(ArrayResourcesTest, CreateAnswersWithTheNewObjectsRecord)
{
    const struct {
        const char* kind;
        const char* type;
    } kinds[] = {{"lungroup", "256"}, {"host", "21"}, {"hostgroup", "14"}, {"mappingview", "245"}};
    for (const auto& each : kinds) {
        const Reply made = client->Post(each.kind, Body({{"NAME", "Node_1"}, {"TYPE", each.type}}));
        EXPECT_CODE(Code::Success, made);
        EXPECT_EQ("1", made.Data()["ID"].asString());
        EXPECT_EQ("Node_1", made.Data()["NAME"].asString());
        EXPECT_EQ(each.type, made.Data()["TYPE"].asString());
        EXPECT_EQ(std::string(each.kind) == "host", made.Data().isMember("ISADD2HOSTGROUP"));
        EXPECT_EQ(made.Data(), client->Get(std::string(each.kind) + "/1").Data());
        EXPECT_CODE(Code::NameTaken, client->Post(each.kind, Body({{"NAME", "Node_1"}, {"TYPE", each.type}})));
        EXPECT_CODE(Code::ParameterBad, client->Post(each.kind, Body({{"NAME", "n"}, {"TYPE", "1"}})));
        EXPECT_CODE(Code::ParameterBad, client->Post(each.kind, Body({{"TYPE", each.type}})));
        EXPECT_CODE(Code::ParameterBad, client->Post(each.kind, R"({"NAME":5})"));
        EXPECT_CODE(Code::ParameterBad, client->Post(each.kind, "rubbish"));
    }
}

TEST_F(ArrayResourcesTest, QueryOfWhatIsGoneAnswersTheKindsCode)
{
    EXPECT_CODE(1077936861, client->Get("lungroup/5"));
    EXPECT_CODE(1077937498, client->Get("host/5"));
    EXPECT_CODE(1077937500, client->Get("hostgroup/5"));
    EXPECT_CODE(1077951819, client->Get("mappingview/5"));
    EXPECT_CODE(Code::SnapshotGone, client->Get("snapshot/5"));
    EXPECT_CODE(Code::InitiatorGone, client->Get("iscsi_initiator/" + iqn));
    EXPECT_CODE(Code::InitiatorGone, client->Get("fc_initiator/" + wwn));
}

TEST_F(ArrayResourcesTest, IscsiInitiatorGoesOnAHostAndOffAgain)
{
    const std::string host = client->Make("host", "h");
    const Reply made = client->Post("iscsi_initiator", Body({{"ID", iqn}, {"TYPE", "222"}}));
    EXPECT_CODE(Code::Success, made);
    EXPECT_EQ(iqn, made.Data()["ID"].asString());
    EXPECT_EQ("", made.Data()["PARENTID"].asString());
    EXPECT_EQ("28", made.Data()["RUNNINGSTATUS"].asString());
    EXPECT_TRUE(made.Data().isMember("NAME"));
    EXPECT_CODE(Code::InitiatorExists, client->Post("iscsi_initiator", Body({{"ID", iqn}, {"TYPE", "222"}})));

    EXPECT_CODE(1077937498, AddToHost("99"));
    EXPECT_CODE(Code::Success, AddToHost(host));
    EXPECT_CODE(Code::InitiatorHasHost, AddToHost(host));
    EXPECT_EQ(host, client->Get("iscsi_initiator/iqn.2020-01.example.node%3A0123").Data()["PARENTID"].asString());
    EXPECT_EQ("21", client->Get("iscsi_initiator/" + iqn).Data()["PARENTTYPE"].asString());
    EXPECT_THAT(Column(client->Get("iscsi_initiator?PARENTID=" + host), "ID"), ElementsAre(iqn));
    EXPECT_FALSE(client->Get("iscsi_initiator?PARENTID=99").HasData());
    EXPECT_FALSE(client->Get("fc_initiator?PARENTID=" + host).HasData());
    EXPECT_THAT(Column(client->Get("iscsi_initiator"), "ID"), ElementsAre(iqn));
    EXPECT_CODE(Code::HostHasInitiators, client->Delete("host/" + host));

    const std::string removal = Body({{"TYPE", "222"}, {"ID", iqn}});
    EXPECT_CODE(Code::Success, client->Put("iscsi_initiator/remove_iscsi_from_host", removal));
    EXPECT_CODE(1077950342, client->Put("iscsi_initiator/remove_iscsi_from_host", removal));
    EXPECT_CODE(1077950342, client->Put("fc_initiator/remove_fc_from_host", Body({{"TYPE", "223"}, {"ID", wwn}})));
    EXPECT_EQ("", client->Get("iscsi_initiator/" + iqn).Data()["PARENTID"].asString());
    EXPECT_CODE(Code::Success, client->Delete("host/" + host));
}

TEST_F(ArrayResourcesTest, FcInitiatorShowsWhetherItsPortIsOnline)
{
    EXPECT_EQ("27", client->Post("fc_initiator", Body({{"ID", "21000024FF4B8C1A"}, {"TYPE", "223"}}))
                        .Data()["RUNNINGSTATUS"]
                        .asString())
        << "it was seen before it was registered";
    EXPECT_EQ(wwn, client->Get("fc_initiator/" + wwn).Data()["ID"].asString());
    Admin("POST", "ports", R"({"wwn":")" + wwn + R"(","online":false})");
    EXPECT_EQ("28", client->Get("fc_initiator/" + wwn).Data()["RUNNINGSTATUS"].asString());
    const std::string host = client->Make("host", "h");
    const auto addition = Body({{"TYPE", "223"}, {"ID", wwn}, {"PARENTTYPE", "21"}, {"PARENTID", host}});
    EXPECT_CODE(Code::Success, client->Put("fc_initiator/add_fc_to_host", addition));
    EXPECT_THAT(Column(client->Get("fc_initiator?PARENTID=" + host), "ID"), ElementsAre(wwn));
    EXPECT_CODE(Code::Success, client->Put("fc_initiator/remove_fc_from_host", Body({{"TYPE", "223"}, {"ID", wwn}})));
}

TEST_F(ArrayResourcesTest, HostGoesIntoAHostGroupAndOutAgain)
{
    const std::string host = client->Make("host", "h");
    const std::string group = client->Make("hostgroup", "g");
    const auto join = Body({{"TYPE", "14"}, {"ID", group}, {"ASSOCIATEOBJTYPE", "21"}, {"ASSOCIATEOBJID", host}});
    const std::string part = "host/associate?ASSOCIATEOBJID=" + host + "&ASSOCIATEOBJTYPE=21&ID=" + group + "&TYPE=14";
    const std::string list = "host/associate?ASSOCIATEOBJID=" + group + "&ASSOCIATEOBJTYPE=14&TYPE=21";
    EXPECT_FALSE(client->Get(list).HasData());
    EXPECT_CODE(1073745412, client->Delete(part));
    EXPECT_CODE(Code::Success, client->Post("host/associate", join));
    EXPECT_CODE(Code::AlreadyAssociated, client->Post("host/associate", join));
    EXPECT_THAT(Column(client->Get(list), "ID"), ElementsAre(host));
    EXPECT_EQ("true", client->Get("host/" + host).Data()["ISADD2HOSTGROUP"].asString());
    EXPECT_CODE(Code::HostInHostGroup, client->Delete("host/" + host));
    EXPECT_CODE(Code::HostGroupNotEmpty, client->Delete("hostgroup/" + group));
    EXPECT_CODE(Code::Success, client->Delete(part));
    EXPECT_EQ("false", client->Get("host/" + host).Data()["ISADD2HOSTGROUP"].asString());
    EXPECT_CODE(Code::Success, client->Delete("hostgroup/" + group));
    EXPECT_CODE(1077937500, client->Delete("hostgroup/" + group));
    EXPECT_CODE(1077937500, client->Get(list));
    EXPECT_CODE(1077937500, client->Delete(part));
}

TEST_F(ArrayResourcesTest, LunsAndSnapshotsGoIntoALunGroupAndOutAgain)
{
    const std::string group = client->Make("lungroup", "g");
    const Reply snapshot = client->Post("snapshot", Body({{"NAME", "s"}, {"PARENTID", "7"}}));
    EXPECT_CODE(Code::Success, snapshot);
    EXPECT_EQ("27", snapshot.Data()["TYPE"].asString());
    EXPECT_EQ("7", snapshot.Data()["PARENTID"].asString());
    EXPECT_CODE(Code::LunGone, client->Post("snapshot", Body({{"NAME", "t"}, {"PARENTID", "70"}})));
    EXPECT_CODE(Code::ParameterBad, client->Post("snapshot", Body({{"NAME", "t"}})));
    const auto join = [&](const char* type, const std::string& id) {
        return client->Post("lungroup/associate",
                            Body({{"ID", group}, {"ASSOCIATEOBJTYPE", type}, {"ASSOCIATEOBJID", id}}));
    };
    const auto part = [&](const char* type, const std::string& id) {
        return client->Delete("lungroup/associate?ID=" + group + "&ASSOCIATEOBJTYPE=" + type + "&ASSOCIATEOBJID=" + id);
    };
    const std::string luns = "lun/associate?TYPE=11&ASSOCIATEOBJTYPE=256&ASSOCIATEOBJID=" + group;
    const std::string snapshots = "snapshot/associate?TYPE=27&ASSOCIATEOBJTYPE=256&ASSOCIATEOBJID=" + group;
    EXPECT_FALSE(client->Get(luns).HasData()) << "an empty group has no data";
    EXPECT_CODE(Code::Success, join("11", "12"));
    EXPECT_CODE(Code::Success, join("11", "3"));
    EXPECT_CODE(Code::Success, join("27", "1"));
    EXPECT_CODE(Code::LunGone, join("11", "40"));
    EXPECT_CODE(Code::ParameterBad, join("21", "1"));
    EXPECT_THAT(Column(client->Get(luns), "ID"), ElementsAre("3", "12"));
    EXPECT_EQ("LUN_000003", client->Get(luns).Data()[0]["NAME"].asString());
    EXPECT_THAT(Column(client->Get(snapshots), "ID"), ElementsAre("1"));
    EXPECT_CODE(Code::LunGroupNotEmpty, client->Delete("lungroup/" + group));
    for (const auto& [type, id] : {std::pair("11", "3"), std::pair("11", "12"), std::pair("27", "1")}) {
        EXPECT_CODE(Code::Success, part(type, id));
        EXPECT_CODE(1077948996, part(type, id));
    }
    EXPECT_CODE(Code::Success, client->Delete("lungroup/" + group));
    EXPECT_CODE(1077936861, client->Delete("lungroup/" + group));
    EXPECT_CODE(1077936861, part("11", "3"));
    EXPECT_CODE(1077936861, client->Get(luns));
}

TEST_F(ArrayResourcesTest, GroupsGoIntoAMappingViewAndOutAgain)
{
    const std::string view = client->Make("mappingview", "v");
    const std::string hosts = client->Make("hostgroup", "hg");
    const std::string luns = client->Make("lungroup", "lg");
    EXPECT_CODE(1073804552, MapGroup("REMOVE", view, "14", hosts));
    EXPECT_CODE(1073804554, MapGroup("REMOVE", view, "256", luns));
    EXPECT_CODE(Code::Success, MapGroup("CREATE", view, "14", hosts));
    EXPECT_CODE(Code::Success, MapGroup("CREATE", view, "256", luns));
    EXPECT_CODE(Code::AlreadyAssociated, MapGroup("CREATE", view, "256", luns));
    EXPECT_CODE(Code::MappingViewHasHostGroup, MapGroup("CREATE", view, "14", client->Make("hostgroup", "hg2")));
    EXPECT_CODE(Code::MappingViewHasLunGroup, MapGroup("CREATE", view, "256", client->Make("lungroup", "lg2")));
    EXPECT_CODE(Code::HostGroupMapped, client->Delete("hostgroup/" + hosts));
    EXPECT_CODE(Code::LunGroupMapped, client->Delete("lungroup/" + luns));
    EXPECT_CODE(Code::MappingViewNotEmpty, client->Delete("mappingview/" + view));
    EXPECT_CODE(Code::Success, MapGroup("REMOVE", view, "14", hosts));
    EXPECT_CODE(Code::Success, MapGroup("REMOVE", view, "256", luns));
    EXPECT_CODE(1077937500, MapGroup("REMOVE", view, "14", "99"));
    EXPECT_CODE(1077936861, MapGroup("REMOVE", view, "256", "99"));
    EXPECT_CODE(Code::Success, client->Delete("mappingview/" + view));
    EXPECT_CODE(1077951819, client->Delete("mappingview/" + view));
    EXPECT_CODE(1077951819, MapGroup("REMOVE", view, "14", hosts));
}

TEST_F(ArrayResourcesTest, WhatTheArrayDoesNotHaveIsRefusedInTheEnvelope)
{
    const std::pair<const char*, const char*> calls[] = {
        {"GET", "disk"},     {"GET", "lun/1/2"},  {"PUT", "host/1"},
        {"DELETE", "lun/1"}, {"POST", "lun"},     {"DELETE", "fc_initiator/2100000000000001"},
        {"GET", "host/1/2"}, {"GET", ""},         {"DELETE", "snapshot/1"},
        {"POST", "host/1"},  {"GET", "sessions"},
    };
    for (const auto& [method, resource] : calls) {
        const std::string verb = method;
        const Reply reply = verb == "GET"      ? client->Get(resource)
                            : verb == "PUT"    ? client->Put(resource, "{}")
                            : verb == "DELETE" ? client->Delete(resource)
                                               : client->Post(resource, "{}");
        EXPECT_EQ(200, reply.status);
        EXPECT_CODE(Code::ResourceUnknown, reply) << method << " " << resource;
    }
    EXPECT_CODE(Code::ParameterBad, client->Get("lun/%zz"));
    EXPECT_THAT(client->Get("disk").json["error"]["description"].asString(), HasSubstr("GET disk"));
}

TEST_F(ArrayResourcesTest, HundredThousandLunsStartAtOnceAndCostNothingUntilTouched)
{
    options.shape.luns = 10000000;
    Start();
    const auto many = Client();
    EXPECT_EQ("10000000", many->Get("lun/count").Data()["COUNT"].asString());
    EXPECT_THAT(Column(many->Get("lun?range=[9999998-10000098]"), "ID"), ElementsAre("9999998", "9999999"));
    EXPECT_EQ(100U, many->Get("lun?range=[5000000-5000100]").Data().size());
}

} // namespace
} // namespace ZavSimTest

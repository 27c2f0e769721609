#include "standin/iscsi_link.h"
#include "tests/simulator/support/iscsi_disk.h"
#include "tests/simulator/support/own_address.h"
#include "tests/simulator/support/running_simulation.h"
#include "tests/support/process.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace ZavSimTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ZavSim::Code;

constexpr const char* NODE = "iqn.2020-01.example.node:1";
constexpr const char* OTHER = "iqn.2020-01.example.node:2";

std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

/// An array whose LUNs real daemons serve at two addresses of this process alone, and a client that prepares nodes.
class DataPlaneTest : public SimulationTest {
protected:
    DataPlaneTest()
    {
        const char* const path = ::getenv("PATH");
        ::setenv("PATH", (std::string(path == nullptr ? "/usr/bin:/bin" : path) + ":/usr/sbin:/sbin").c_str(), 1);
        const Base::ProgramResult targets =
            RunToEnd({ZAVSIM_TARGET, "start", "--bare", "--folder", folder.File("t"), here, there});
        EXPECT_EQ(0, targets.status) << targets.errors << "(Debian's package tgt has tgtd)";
        options.shape.serviceAddresses = {here, there};
        options.dataPlane.kind = "tgt";
        options.dataPlane.folder = folder.File("data");
        options.dataPlane.tgtSockets = {folder.File("t/control.1"), folder.File("t/control.2")};
        Start();
        client = Client();
    }

    ~DataPlaneTest() override
    {
        simulation.reset();
        EXPECT_EQ(0, RunToEnd({ZAVSIM_TARGET, "stop", "--folder", folder.File("t")}).status);
    }

    static std::string Address(unsigned int number) { return OwnAddress(192, number); }

    /// A node as a client of the array prepares it.
    struct Node {
        std::string host;
        std::string lunGroup;
        std::string view;
    };

    void Join(const std::string& resource, const std::string& container, const std::string& type,
              const std::string& member)
    {
        const std::string body = R"({"ID":")" + container + R"(","ASSOCIATEOBJTYPE":")" + type +
                                 R"(","ASSOCIATEOBJID":")" + member + R"("})";
        EXPECT_CODE(Code::Success, resource == "mappingview/CREATE_ASSOCIATE" ? client->Put(resource, body)
                                                                              : client->Post(resource, body));
    }

    void Register(const std::string& initiator)
    {
        EXPECT_CODE(Code::Success, client->Post("iscsi_initiator", R"({"ID":)" + Quoted(initiator) + "}"));
    }

    void PutOnHost(const std::string& initiator, const std::string& host)
    {
        EXPECT_CODE(Code::Success,
                    client->Put("iscsi_initiator/add_iscsi_to_host",
                                R"({"ID":)" + Quoted(initiator) + R"(,"PARENTID":)" + Quoted(host) + "}"));
    }

    Node Prepare(const std::string& initiator)
    {
        Node node;
        Register(initiator);
        node.host = client->Make("host", initiator);
        PutOnHost(initiator, node.host);
        const std::string hostGroup = client->Make("hostgroup", initiator);
        node.lunGroup = client->Make("lungroup", initiator);
        node.view = client->Make("mappingview", initiator);
        Join("host/associate", hostGroup, "21", node.host);
        Join("mappingview/CREATE_ASSOCIATE", node.view, "14", hostGroup);
        Join("mappingview/CREATE_ASSOCIATE", node.view, "256", node.lunGroup);
        return node;
    }

    void AddLun(const Node& node, const std::string& lun) { Join("lungroup/associate", node.lunGroup, "11", lun); }

    void TakeLun(const Node& node, const std::string& lun)
    {
        EXPECT_CODE(Code::Success, client->Delete("lungroup/associate?ID=" + node.lunGroup +
                                                  "&ASSOCIATEOBJTYPE=11&ASSOCIATEOBJID=" + lun));
    }

    /// The names of the targets that the initiator finds at an address.
    std::vector<std::string> Discover(const std::string& initiator, const std::string& address)
    {
        const auto found = ZavSimNode::IscsiLink(initiator).Discover({address});
        EXPECT_TRUE(found) << address;
        std::vector<std::string> names;
        for (const auto& node : found.value_or(std::vector<ZavSimNode::NodeRecord>())) {
            names.push_back(node.target);
        }
        return names;
    }

    /// A session of the initiator with its target at an address.
    IscsiDisk LogIn(const std::string& initiator, const std::string& address)
    {
        const auto names = Discover(initiator, address);
        EXPECT_THAT(names, SizeIs(1));
        return IscsiDisk(initiator, address, names.empty() ? "" : names.front());
    }

    const std::string here = Address(1);
    const std::string there = Address(2);
    std::unique_ptr<ArrayClient> client;
};

TEST_F(DataPlaneTest, InitiatorThatTheArrayDoesNotKnowDiscoversNothing)
{
    Register(NODE);
    EXPECT_THAT(Discover(OTHER, here), IsEmpty());
    EXPECT_FALSE(IscsiDisk(OTHER, here, Discover(NODE, here).at(0)).IsLoggedIn());
}

TEST_F(DataPlaneTest, ArrayWithoutInitiatorsAnswersADiscoveryWithNothing)
{
    EXPECT_THAT(Discover(NODE, here), IsEmpty());
}

TEST_F(DataPlaneTest, KnownInitiatorFindsATargetAtEachAddressThatNamesTheAddress)
{
    Register(NODE);
    EXPECT_THAT(Discover(NODE, here), ElementsAre(HasSubstr("iqn.2020-01.example.zavsim:a:b:c:d:" + here + ":")));
    EXPECT_THAT(Discover(NODE, there), ElementsAre(HasSubstr("iqn.2020-01.example.zavsim:a:b:c:d:" + there + ":")));
    EXPECT_THAT(LogIn(NODE, here).ReportLuns(), ElementsAre(0)) << "nothing is mapped yet";
}

TEST_F(DataPlaneTest, NodeSeesExactlyTheLunsThatItsViewsGiveIt)
{
    const Node node = Prepare(NODE);
    const Node other = Prepare(OTHER);
    AddLun(node, "3");
    AddLun(node, "15");
    AddLun(other, "4");
    for (const std::string& address : {here, there}) {
        IscsiDisk disk = LogIn(NODE, address);
        EXPECT_THAT(disk.ReportLuns(), ElementsAre(0, 1, 2));
        EXPECT_THAT(LogIn(OTHER, address).ReportLuns(), ElementsAre(0, 1));
    }
}

TEST_F(DataPlaneTest, LunHasTheSizeSectorAndNameOfTheInventory)
{
    const Node node = Prepare(NODE);
    AddLun(node, "3");
    AddLun(node, "15");
    IscsiDisk disk = LogIn(NODE, here);
    for (const auto& [number, lun] : {std::pair<int, std::string>{1, "3"}, {2, "15"}}) {
        const Json::Value record = client->Get("lun/" + lun).Data();
        const IscsiDisk::Shape shape = disk.Describe(number);
        EXPECT_EQ(record["CAPACITY"].asString(), std::to_string(shape.sectors));
        EXPECT_EQ(record["SECTORSIZE"].asString(), std::to_string(shape.sectorSize));
        EXPECT_THAT(shape.serial, HasSubstr(record["WWN"].asString()));
        EXPECT_THAT(shape.designators, HasSubstr(record["WWN"].asString()));
    }
}

TEST_F(DataPlaneTest, LunsComeAndGoUnderALiveSession)
{
    const Node node = Prepare(NODE);
    AddLun(node, "3");
    IscsiDisk disk = LogIn(NODE, here);
    AddLun(node, "5");
    EXPECT_THAT(disk.ReportLuns(), ElementsAre(0, 1, 2));
    TakeLun(node, "3");
    EXPECT_THAT(disk.ReportLuns(), ElementsAre(0, 2)) << "the other keeps its number";
}

TEST_F(DataPlaneTest, BytesWrittenAreInTheLunsFileAndReadBackOverTheOtherAddress)
{
    const Node node = Prepare(NODE);
    AddLun(node, "3");
    std::string bytes(64 * 1024, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 31 + i / 512);
    }
    constexpr std::uint32_t SECTOR = 2048;
    LogIn(NODE, here).Write(1, SECTOR, bytes);
    EXPECT_EQ(bytes, LogIn(NODE, there).Read(1, SECTOR, bytes.size()));
    std::ifstream file(folder.File("data/lun-3"), std::ios::binary);
    file.seekg(SECTOR * 512);
    std::string kept(bytes.size(), '\0');
    file.read(kept.data(), static_cast<std::streamsize>(kept.size()));
    EXPECT_EQ(bytes, kept);
}

TEST_F(DataPlaneTest, LunKeepsItsContentWhenItGoesAndComesAgain)
{
    const Node node = Prepare(NODE);
    AddLun(node, "3");
    LogIn(NODE, here).Write(1, 0, std::string(512, 'x'));
    TakeLun(node, "3");
    AddLun(node, "3");
    EXPECT_EQ(std::string(512, 'x'), LogIn(NODE, here).Read(1, 0, 512));
}

TEST_F(DataPlaneTest, ViewThatGoesTakesItsLunsAndInitiatorThatMovesTakesItsNewHosts)
{
    const Node node = Prepare(NODE);
    const Node other = Prepare(OTHER);
    AddLun(node, "3");
    AddLun(other, "4");
    AddLun(other, "5");
    IscsiDisk disk = LogIn(NODE, here);
    EXPECT_EQ(200, Admin("DELETE", "objects/mappingview/" + node.view).status);
    EXPECT_THAT(disk.ReportLuns(), ElementsAre(0));
    EXPECT_CODE(Code::Success, client->Put("iscsi_initiator/remove_iscsi_from_host", R"({"ID":)" + Quoted(NODE) + "}"));
    PutOnHost(NODE, other.host);
    EXPECT_THAT(disk.ReportLuns(), ElementsAre(0, 1, 2));
}

TEST_F(DataPlaneTest, InitiatorThatIsForgottenIsCutOff)
{
    Prepare(NODE);
    IscsiDisk disk = LogIn(NODE, here);
    ASSERT_TRUE(disk.IsLoggedIn());
    EXPECT_EQ(200, Admin("DELETE", std::string("objects/iscsi_initiator/") + NODE).status);
    EXPECT_TRUE(disk.AwaitCut());
    EXPECT_THAT(Discover(NODE, here), IsEmpty());
}

TEST_F(DataPlaneTest, ChangeThatTheTargetsCannotFollowIsRefusedAndNotMade)
{
    const Node node = Prepare(NODE);
    folder.Write("data/lun-3", "not of a LUN's size");
    const Reply refused = client->Post("lungroup/associate", R"({"ID":")" + node.lunGroup +
                                                                 R"(","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"3"})");
    EXPECT_CODE(Code::TargetsNotChanged, refused);
    EXPECT_THAT(refused.body, HasSubstr("lun-3 has 19 bytes"));
    EXPECT_FALSE(client->Get("lun/associate?ASSOCIATEOBJTYPE=256&ASSOCIATEOBJID=" + node.lunGroup).HasData());
    AddLun(node, "4");
    EXPECT_THAT(LogIn(NODE, here).ReportLuns(), ElementsAre(0, 1)) << "the next change is made as ever";
}

TEST_F(DataPlaneTest, RestartServesTheObjectsOfTheStateFile)
{
    options.stateFile = folder.File("state.json");
    Start();
    client = Client();
    AddLun(Prepare(NODE), "3");
    const auto name = Discover(NODE, here);
    simulation.reset();
    EXPECT_FALSE(IscsiDisk(NODE, here, name.at(0)).IsLoggedIn()) << "its targets go with it";
    Start();
    EXPECT_EQ(name, Discover(NODE, here)) << "a node's records stay good";
    EXPECT_THAT(LogIn(NODE, here).ReportLuns(), ElementsAre(0, 1));
}

TEST_F(DataPlaneTest, DaemonThatIsNotThereKeepsItFromStarting)
{
    simulation.reset();
    options.dataPlane.tgtSockets[1] = folder.File("t/control.9");
    try {
        Start();
        FAIL() << "it started";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("the tgtd at " + folder.File("t/control.9")));
    }
}

TEST_F(DataPlaneTest, SecondSimulatorWithTheFolderIsRefusedAndTheFirstOnesDisksStay)
{
    const Node node = Prepare(NODE);
    AddLun(node, "3");
    IscsiDisk disk = LogIn(NODE, here);
    try {
        ZavSim::Simulation second(options);
        FAIL() << "two simulators on one folder";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ("another simulator uses the folder " + folder.File("data"), std::string(error.what()));
    }
    EXPECT_THAT(disk.ReportLuns(), ElementsAre(0, 1));
    EXPECT_THAT(Discover(NODE, there), SizeIs(1));
}

} // namespace
} // namespace ZavSimTest

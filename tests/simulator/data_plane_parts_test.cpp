#include "simulator/array/operations.h"
#include "simulator/dataplane/fc_fabric.h"
#include "simulator/dataplane/lio_plane.h"
#include "simulator/dataplane/lun_files.h"
#include "simulator/dataplane/tgt_daemon.h"
#include "simulator/options/data_plane_arguments.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace ZavSim {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* NODE = "iqn.2020-01.example.node:1";

/// What the operation throws; empty when it throws nothing.
template <typename Operation>
std::string MessageOf(Operation operation)
{
    try {
        operation();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

class LunFilesTest : public ::testing::Test {
protected:
    static ArrayShape Shape()
    {
        ArrayShape shape;
        shape.luns = 20;
        return shape;
    }

    TemporaryFolder folder;
    const Inventory inventory{Shape()};
};

TEST_F(LunFilesTest, OpenMakesASparseFileOfTheLunsSizeForTheOwnerAlone)
{
    const LunFiles files(folder.File("a/b"), inventory);
    const BackedLun lun = files.Open(1);
    EXPECT_EQ(fs::canonical(folder.File("a/b/lun-1")), lun.file);
    EXPECT_EQ(2ULL << 30, lun.bytes);
    EXPECT_EQ(512U, lun.sectorSize);
    EXPECT_EQ(inventory.LunRecord(1)["WWN"].asString(), lun.wwn);
    struct stat status {};
    ASSERT_EQ(0, ::stat(lun.file.c_str(), &status));
    EXPECT_EQ(2LL << 30, status.st_size);
    EXPECT_EQ(0, status.st_blocks);
    EXPECT_EQ(0600U, status.st_mode & 0777U);
    EXPECT_EQ(4096U, files.Open(15).sectorSize);
}

TEST_F(LunFilesTest, OpenAgainKeepsTheContent)
{
    const LunFiles files(folder.Path(), inventory);
    const std::string path = files.Open(0).file;
    std::fstream(path, std::ios::in | std::ios::out | std::ios::binary) << "content";
    files.Open(0);
    std::string content(7, ' ');
    std::ifstream(path).read(content.data(), 7);
    EXPECT_EQ("content", content);
}

TEST_F(LunFilesTest, OpenRefusesAFileOfAnotherSizeAndLeavesIt)
{
    const LunFiles files(folder.Path(), inventory);
    folder.Write("lun-0", "somebody's");
    EXPECT_THAT(MessageOf([&] { files.Open(0); }), HasSubstr("lun-0 has 10 bytes, the LUN has 1073741824"));
    EXPECT_EQ("somebody's", folder.Read("lun-0"));
}

TEST_F(LunFilesTest, FolderThatCannotBeUsedIsNamed)
{
    folder.Write("file", "");
    EXPECT_THAT(MessageOf([&] { LunFiles files(folder.File("file"), inventory); }),
                HasSubstr("cannot use the folder " + folder.File("file")));
}

TEST(TgtDaemonTest, SocketMustBeAPathAPointAndANumber)
{
    for (const char* const socket : {"", "socket", "/run/socket.", "/run/socket.x", ".0"}) {
        EXPECT_THAT(MessageOf([&] { TgtDaemon{socket}; }), HasSubstr("--tgt-socket")) << socket;
    }
    TgtDaemon("/run/tgtd/socket.0");
}

TEST(TgtDaemonTest, DaemonThatDoesNotAnswerIsNamed)
{
    const TemporaryFolder folder;
    const std::string message = MessageOf([&] { TgtDaemon(folder.File("control.1")).ListTargets(); });
    EXPECT_THAT(message, HasSubstr("the tgtd at " + folder.File("control.1") + ": "));
}

/// Two FC ports of this machine as sysfs has them, the second of which sees the first.
class FcFabricTest : public ::testing::Test {
protected:
    FcFabricTest()
    {
        AddPort("fc_host/host2", "0x200002000000000a", "");
        AddPort("fc_host/host3", "0x200002000000000b", "");
        AddPort("fc_remote_ports/rport-2:0-0", "0x200002000000000b", "Online");
        AddPort("fc_remote_ports/rport-3:0-0", "0x200002000000000a", "Online");
        AddPort("fc_remote_ports/rport-3:0-1", "0x200002000000000c", "Blocked");
    }

    void AddPort(const std::string& path, const std::string& name, const std::string& state)
    {
        fs::create_directories(folder.File(path));
        folder.Write(path + "/port_name", name + "\n");
        folder.Write(path + "/port_state", state + "\n");
    }

    TemporaryFolder folder;
};

TEST_F(FcFabricTest, PortsSeenAreTheOnlineRemotePortsOfTheOwnPortsAlone)
{
    EXPECT_THAT(PortsSeenBy({"200002000000000b"}, folder.Path()), ElementsAre("200002000000000a"));
    EXPECT_THAT(PortsSeenBy({"200002000000000f"}, folder.Path()), IsEmpty());
    EXPECT_THAT(PortsSeenBy({"200002000000000a", "200002000000000b"}, folder.Path()),
                ElementsAre("200002000000000a", "200002000000000b"));
}

TEST_F(FcFabricTest, MachineWithoutFcSeesNothing)
{
    EXPECT_THAT(PortsSeenBy({"200002000000000b"}, folder.File("none")), IsEmpty());
}

TEST(FcNameTest, WithColonsPartsTheBytes)
{
    EXPECT_EQ("20:00:02:00:00:00:00:0b", WithColons("200002000000000b"));
}

/// The kernel's configuration file system stood in for by a plain folder: what is made there is seen, though nothing
/// serves. The kernel makes an object's attribute folders with it; here they are made beforehand.
class LioPlaneTest : public ::testing::Test {
protected:
    LioPlaneTest() { fs::create_directories(folder.File("config/target/core")); }

    static ArrayShape Shape()
    {
        ArrayShape shape;
        shape.luns = 20;
        shape.serial = "S1";
        return shape;
    }

    TemporaryFolder folder;
    const Inventory inventory{Shape()};
    const LunFiles files{folder.File("data"), inventory};
};

TEST_F(LioPlaneTest, KernelWithoutTheTargetIsTold)
{
    EXPECT_THAT(MessageOf([&] {
                    LioPlane plane({folder.File("nothing"), "S1", {"127.0.0.5"}, {}}, files);
                }),
                HasSubstr("there is no " + folder.File("nothing") + "/target: "));
}

TEST_F(LioPlaneTest, FolderThatMayNotBeWrittenIsNamedAndWhy)
{
    fs::remove_all(folder.File("config/target/core"));
    EXPECT_THAT(MessageOf([&] {
                    LioPlane plane({folder.File("config"), "S1", {"127.0.0.5"}, {}}, files);
                }),
                HasSubstr("cannot make " + folder.File("config/target/core/fileio_0") + ": No such file"));
}

TEST_F(LioPlaneTest, TargetThatCannotBeRemovedIsNamedAndKeepsNoOtherFromIt)
{
    const std::string targets = folder.File("config/target/iscsi");
    const std::string stays = targets + "/" + TargetName("127.0.0.5");
    fs::create_directories(stays + "/tpgt_1/of-somebody-else");
    fs::create_directories(targets + "/" + TargetName("127.0.0.6") + "/tpgt_1");
    EXPECT_THAT(MessageOf([&] {
                    LioPlane plane({folder.File("config"), "S1", {"127.0.0.5", "127.0.0.6"}, {}}, files);
                }),
                HasSubstr("cannot remove " + stays));
    EXPECT_FALSE(fs::exists(targets + "/" + TargetName("127.0.0.6")));
}

/// One target, whose attribute folders are there as the kernel would have them.
class LioTargetTest : public ::testing::Test {
protected:
    LioTargetTest()
    {
        for (const char* const each : {"target/tpgt_1/attrib", "target/tpgt_1/np", "target/tpgt_1/acls",
                                       "target/tpgt_1/lun", "store-7", "store-8"}) {
            fs::create_directories(folder.File(each));
        }
    }

    std::string StoreOf(std::uint64_t lun) const { return folder.File("store-" + std::to_string(lun)); }
    void Apply(const LioTarget& target, const Exports& exports) const
    {
        target.Shrink(exports);
        target.Grow(exports, [this](std::uint64_t lun) { return StoreOf(lun); });
    }

    /// The paths of all links below the group's folder, and what each stands for.
    std::map<std::string, std::string> Links() const
    {
        std::map<std::string, std::string> links;
        const fs::path group = folder.File("target/tpgt_1");
        for (const auto& entry : fs::recursive_directory_iterator(group)) {
            if (entry.is_symlink()) {
                links[fs::relative(entry.path().parent_path(), group).string()] =
                    fs::relative(fs::read_symlink(entry.path()), folder.Path()).string();
            }
        }
        return links;
    }

    TemporaryFolder folder;
    const LioTarget iscsi{Kind::IscsiInitiator, folder.File("target"), "127.0.0.5:3260"};
    const LioTarget fc{Kind::FcInitiator, folder.File("target"), ""};
    const Initiator node{Kind::IscsiInitiator, NODE};
};

TEST_F(LioTargetTest, OpenLetsOnlyKnownInitiatorsInAtThePortal)
{
    iscsi.Open();
    EXPECT_EQ("0", folder.Read("target/tpgt_1/attrib/generate_node_acls"));
    EXPECT_EQ("0", folder.Read("target/tpgt_1/attrib/demo_mode_discovery"));
    EXPECT_EQ("0", folder.Read("target/tpgt_1/attrib/authentication"));
    EXPECT_TRUE(fs::is_directory(folder.File("target/tpgt_1/np/127.0.0.5:3260")));
    EXPECT_EQ("1", folder.Read("target/tpgt_1/enable"));
}

TEST_F(LioTargetTest, GrowLinksEachNumberToItsLunAndTheLunToItsStore)
{
    Apply(iscsi, {{node, {{1, 7}, {4, 8}}}});
    const std::string access = std::string("acls/") + NODE;
    EXPECT_EQ((std::map<std::string, std::string>{{"lun/lun_7", "store-7"},
                                                  {"lun/lun_8", "store-8"},
                                                  {access + "/lun_1", "target/tpgt_1/lun/lun_7"},
                                                  {access + "/lun_4", "target/tpgt_1/lun/lun_8"}}),
              Links());
    const auto before = Links();
    Apply(iscsi, {{node, {{1, 7}, {4, 8}}}});
    EXPECT_EQ(before, Links()) << "a second time changes nothing";
}

TEST_F(LioTargetTest, ShrinkTakesAwayWhatIsNotWantedAndLeavesTheRest)
{
    Apply(iscsi, {{node, {{1, 7}, {4, 8}}}, {{Kind::IscsiInitiator, "iqn.2020-01.example.node:2"}, {{1, 8}}}});
    Apply(iscsi, {{node, {{4, 8}}}});
    const std::string access = std::string("acls/") + NODE;
    EXPECT_EQ(
        (std::map<std::string, std::string>{{"lun/lun_8", "store-8"}, {access + "/lun_4", "target/tpgt_1/lun/lun_8"}}),
        Links());
    EXPECT_FALSE(fs::exists(folder.File("target/tpgt_1/acls/iqn.2020-01.example.node:2")));
}

TEST_F(LioTargetTest, NumberThatGoesToAnotherLunIsLinkedAnew)
{
    Apply(iscsi, {{node, {{1, 7}}}});
    Apply(iscsi, {{node, {{1, 8}}}});
    EXPECT_EQ("target/tpgt_1/lun/lun_8", Links().at(std::string("acls/") + NODE + "/lun_1"));
    EXPECT_EQ(0U, Links().count("lun/lun_7"));
}

TEST_F(LioTargetTest, FcTargetTakesFcInitiatorsAloneAndNamesThemWithColons)
{
    fc.Open();
    Apply(fc, {{node, {{1, 7}}}, {{Kind::FcInitiator, "200002000000000a"}, {{1, 8}}}});
    EXPECT_EQ((std::map<std::string, std::string>{{"lun/lun_8", "store-8"},
                                                  {"acls/20:00:02:00:00:00:00:0a/lun_1", "target/tpgt_1/lun/lun_8"}}),
              Links());
    EXPECT_FALSE(fs::exists(folder.File("target/tpgt_1/enable")));
}

TEST(DataPlaneOptionsTest, WhatDoesNotGoTogetherIsRefusedNamingTheOption)
{
    ArrayShape shape;
    const auto refusal = [&shape](const std::string& kind, const std::string& folder,
                                  const std::vector<std::string>& sockets, const std::vector<std::string>& fcTargets) {
        DataPlaneOptions options;
        options.kind = kind;
        options.folder = folder;
        options.tgtSockets = sockets;
        options.fcTargets = fcTargets;
        return MessageOf([&] { CompleteDataPlane(options, shape); });
    };
    EXPECT_EQ("", refusal("none", "", {}, {}));
    EXPECT_THAT(refusal("lio", "", {}, {}), HasSubstr("--data-plane and --data-dir go together"));
    EXPECT_THAT(refusal("none", "data", {}, {}), HasSubstr("--data-plane and --data-dir go together"));
    EXPECT_THAT(refusal("lio", "data", {"/s.0"}, {}), HasSubstr("--tgt-socket goes with --data-plane tgt"));
    EXPECT_THAT(refusal("none", "", {}, {"200002000000000b"}), HasSubstr("--fc-target goes with --data-plane lio"));
    EXPECT_THAT(refusal("lio", "data", {}, {"0x2000"}), HasSubstr("not \"0x2000\""));
    EXPECT_THAT(refusal("tgt", "data", {}, {}), HasSubstr("there must be a --service"));
    shape.serviceAddresses = {"127.0.0.5"};
    EXPECT_EQ("", refusal("tgt", "data", {}, {})) << "one address has tgtd's usual socket";
    shape.serviceAddresses = {"127.0.0.5", "127.0.0.6"};
    EXPECT_THAT(refusal("tgt", "data", {"/s.1"}, {}), HasSubstr("not 1 for 2"));
    EXPECT_THAT(refusal("tgt", "data", {"/s.1", "/s"}, {}), HasSubstr("\"/s\" does not end in"));
}

} // namespace
} // namespace ZavSim

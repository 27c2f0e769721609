#include "simulator/dataplane/tgt_plane.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>

namespace ZavSim {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// A tgtadm that keeps the targets of each control socket in a folder beside it, as N/name and N/lun-M. A file
// "refuse-OP-MODE" there, or "refuse-OP-MODE-N" for one target, has it refuse that; "late-OP-MODE" has it do it once
// and fail all the same, as one that was killed when its time was over.
constexpr const char* TGTADM = R"sh(#!/bin/sh
while [ $# -gt 0 ]; do
    case $1 in
    -C) targets=$TGT_IPC_SOCKET.$2 ;;
    --op) op=$2 ;;
    --mode) mode=$2 ;;
    --tid) number=$2 ;;
    -T) name=$2 ;;
    --lun) lun=$2 ;;
    --force) shift; continue ;;
    esac
    shift 2
done
refuse() {
    echo "tgtadm: $*" >&2
    exit 22
}
step=$op-$mode
target=$targets/$number
[ -e "$targets/refuse-$step" ] && refuse "no $step"
[ -e "$targets/refuse-$step-$number" ] && refuse "no $step of $number"
case $step in
show-target)
    for each in "$targets"/[0-9]*; do
        [ -d "$each" ] || continue
        echo "Target ${each##*/}: $(cat "$each/name")"
        echo "    LUN information:"
        echo "        LUN: 0"
        for unit in "$each"/lun-*; do
            [ -e "$unit" ] && echo "        LUN: ${unit##*-}"
        done
    done
    ;;
new-target)
    [ -d "$target" ] && refuse "this target already exists"
    grep -qxF "$name" "$targets"/[0-9]*/name 2>/dev/null && refuse "this name already exists"
    mkdir "$target" && echo "$name" >"$target/name"
    ;;
bind-target) [ -d "$target" ] || refuse "can't find the target" ;;
delete-target) rm -r "$target" 2>/dev/null || refuse "can't find the target" ;;
new-logicalunit)
    [ -e "$target/lun-$lun" ] && refuse "this logical unit number already exists"
    touch "$target/lun-$lun" || refuse "can't find the target"
    ;;
update-logicalunit) [ -e "$target/lun-$lun" ] || refuse "can't find the logical unit" ;;
delete-logicalunit) rm "$target/lun-$lun" 2>/dev/null || refuse "can't find the logical unit" ;;
esac
! rm "$targets/late-$step" 2>/dev/null
)sh";

/// Two portals, whose daemons are those folders.
class TgtPlaneTest : public ::testing::Test {
protected:
    TgtPlaneTest()
    {
        folder.Write("bin/tgtadm", TGTADM);
        fs::permissions(folder.File("bin/tgtadm"), fs::perms::owner_all);
        ::setenv("PATH", (folder.File("bin") + ":" + oldPath).c_str(), 1);
        fs::create_directories(folder.File("control.1"));
        fs::create_directories(folder.File("control.2"));
    }
    ~TgtPlaneTest() override { ::setenv("PATH", oldPath.c_str(), 1); }

    /// What a portal's daemon has: a text for each target, in the order of their numbers.
    std::vector<std::string> Targets(int portal) const
    {
        std::vector<std::string> targets;
        for (const auto& entry : fs::directory_iterator(folder.File("control." + std::to_string(portal)))) {
            if (!entry.is_directory()) {
                continue;
            }
            const std::string name = ReadText(entry.path().string() + "/name");
            std::string text = entry.path().filename().string();
            text += name.find(":anchor\n") != std::string::npos ? " anchor" : "";
            for (int lun = 0; lun < 10; ++lun) {
                text += fs::exists(entry.path() / ("lun-" + std::to_string(lun))) ? " LUN " + std::to_string(lun) : "";
            }
            targets.push_back(text);
        }
        std::sort(targets.begin(), targets.end());
        return targets;
    }

    void Plant(const std::string& name) const { folder.Write(name, ""); }

    static std::string FailureOf(const std::function<void()>& work)
    {
        try {
            work();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    static ArrayShape Shape()
    {
        ArrayShape shape;
        shape.luns = 20;
        return shape;
    }

    TemporaryFolder folder;
    const std::string oldPath = std::getenv("PATH");
    const Inventory inventory{Shape()};
    const LunFiles files{folder.File("data"), inventory};
    const std::vector<TgtPortal> portals = {{"127.0.0.5", folder.File("control.1")},
                                            {"127.0.0.6", folder.File("control.2")}};
    const Initiator node{Kind::IscsiInitiator, "iqn.2020-01.example.node:1"};
    const Initiator other{Kind::IscsiInitiator, "iqn.2020-01.example.node:2"};
};

TEST_F(TgtPlaneTest, EachInitiatorHasATargetAtEachPortalUntilThePlaneGoes)
{
    {
        TgtPlane plane(portals, files);
        plane.Apply({{node, {{1, 7}, {4, 8}}}, {other, {}}});
        EXPECT_THAT(Targets(1), ElementsAre("1 anchor", "2 LUN 1 LUN 4", "3"));
        EXPECT_THAT(Targets(2), ElementsAre("1 anchor", "2 LUN 1 LUN 4", "3"));
    }
    EXPECT_THAT(Targets(1), IsEmpty());
    EXPECT_THAT(Targets(2), IsEmpty());
}

TEST_F(TgtPlaneTest, PortalThatTakesNoTargetLeavesNothingAtTheOthers)
{
    Plant("control.2/refuse-new-target");
    EXPECT_THAT(FailureOf([this] { TgtPlane(portals, files); }), HasSubstr("no new-target"));
    EXPECT_THAT(Targets(1), IsEmpty());
}

TEST_F(TgtPlaneTest, TargetThatCannotBeRemovedKeepsNoOtherFromIt)
{
    {
        TgtPlane plane(portals, files);
        plane.Apply({{node, {}}, {other, {}}});
        Plant("control.1/refuse-delete-target-2");
    }
    EXPECT_THAT(Targets(1), ElementsAre("2"));
    EXPECT_THAT(Targets(2), IsEmpty());
}

TEST_F(TgtPlaneTest, PackageIsNamedWhereThereIsNoTgtadmAndNowhereElse)
{
    Plant("control.1/refuse-show-target");
    EXPECT_THAT(FailureOf([this] { TgtPlane(portals, files); }), Not(HasSubstr("Debian")));
    ::setenv("PATH", folder.File("control.1").c_str(), 1);
    EXPECT_THAT(FailureOf([this] { TgtPlane(portals, files); }),
                HasSubstr("cannot start tgtadm: No such file or directory (Debian: package tgt)"));
}

TEST_F(TgtPlaneTest, WhatFailedFirstIsToldWhereTakingItBackFailsToo)
{
    TgtPlane plane(portals, files);
    Plant("control.1/refuse-bind-target");
    Plant("control.1/refuse-delete-target");
    EXPECT_THAT(FailureOf([&] { plane.Apply({{node, {}}}); }), HasSubstr("no bind-target"));
    fs::remove(folder.File("control.1/refuse-delete-target"));
}

/// A step of tgtadm that was done although tgtadm failed, and what the initiators saw before and are to see then.
struct LateStep {
    std::string step;
    Exports before;
    Exports wanted;
    std::vector<std::string> targets; ///< once the change was asked for again
};

void PrintTo(const LateStep& late, std::ostream* stream)
{
    *stream << late.step;
}

const Initiator NODE{Kind::IscsiInitiator, "iqn.2020-01.example.node:1"};
const Initiator OTHER{Kind::IscsiInitiator, "iqn.2020-01.example.node:2"};

class LateTgtPlaneTest : public TgtPlaneTest, public ::testing::WithParamInterface<LateStep> {};

TEST_P(LateTgtPlaneTest, ChangeIsMadeWhenItIsAskedForAgain)
{
    const LateStep& late = GetParam();
    TgtPlane plane(portals, files);
    plane.Apply(late.before);
    Plant("control.1/late-" + late.step);
    EXPECT_THAT(FailureOf([&] { plane.Apply(late.wanted); }), HasSubstr("ended with 1"));
    plane.Apply(late.wanted);
    EXPECT_EQ(late.targets, Targets(1));
}

// The second target stays as it is, with its sessions.
INSTANTIATE_TEST_SUITE_P(
    All, LateTgtPlaneTest,
    ::testing::Values(
        LateStep{"new-target", {{OTHER, {}}}, {{OTHER, {}}, {NODE, {}}}, {"1 anchor", "2", "4"}},
        LateStep{"bind-target", {{OTHER, {}}}, {{OTHER, {}}, {NODE, {}}}, {"1 anchor", "2", "4"}},
        LateStep{"delete-target", {{OTHER, {}}, {NODE, {}}}, {{OTHER, {}}}, {"1 anchor", "3"}},
        LateStep{"new-logicalunit", {{NODE, {{1, 7}}}}, {{NODE, {{1, 7}, {2, 8}}}}, {"1 anchor", "2 LUN 1 LUN 2"}},
        LateStep{"update-logicalunit", {{NODE, {{1, 7}}}}, {{NODE, {{1, 7}, {2, 8}}}}, {"1 anchor", "2 LUN 1 LUN 2"}},
        LateStep{"delete-logicalunit", {{NODE, {{1, 7}, {2, 8}}}}, {{NODE, {{2, 8}}}}, {"1 anchor", "2 LUN 2"}}));

TEST_F(TgtPlaneTest, DaemonThatBeganAnewIsServedAgainOnceAChangeFailed)
{
    TgtPlane plane(portals, files);
    plane.Apply({{node, {{1, 7}}}});
    for (const auto& entry : fs::directory_iterator(folder.File("control.1"))) {
        fs::remove_all(entry.path());
    }
    const Exports wanted = {{node, {{1, 7}, {2, 8}}}};
    EXPECT_THAT(FailureOf([&] { plane.Apply(wanted); }), HasSubstr("can't find the target"));
    plane.Apply(wanted);
    EXPECT_THAT(Targets(1), ElementsAre("3 anchor", "4 LUN 1 LUN 2"));
}

} // namespace
} // namespace ZavSim

#include "cli/node/local_disks.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

TEST(LocalDisksTest, WwnIsTheSameHoweverItIsWritten)
{
    for (const char* const text : {"naa.6001405ABCDEF", "0x6001405abcdef", "6001405ABCDEF", "eui.6001405abcdef"}) {
        EXPECT_EQ("6001405abcdef", LocalDisks::PlainWwn(text)) << text;
    }
}

TEST(LocalDisksTest, PathsToTheSameLunStandTogether)
{
    const TemporaryFolder folder;
    const auto add = [&folder](const std::string& disk, const std::string& wwid) {
        boost::filesystem::create_directories(folder.Path() + "/" + disk + "/device");
        if (!wwid.empty()) {
            WriteText(folder.Path() + "/" + disk + "/device/wwid", wwid + "\n");
        }
    };
    add("sdc", "naa.60ABC3");
    add("sdb", "naa.60abc3");
    add("sdd", "t10.ATA     a disk of this machine");
    add("loop0", "");
    const auto disks = LocalDisks::ByWwn(folder.Path());
    EXPECT_THAT(disks.at("60abc3"), ElementsAre("sdb", "sdc"));
    EXPECT_EQ(2U, disks.size());
    EXPECT_THAT(LocalDisks::ByWwn(folder.Path() + "/none"), IsEmpty());
}

} // namespace

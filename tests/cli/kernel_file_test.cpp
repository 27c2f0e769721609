#include "cli/node/kernel_file.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

namespace {

TEST(KernelFileTest, SaysWhatStandsThereWithoutBlanksAround)
{
    const TemporaryFolder folder;
    folder.Write("comm", "tape writer\n");
    EXPECT_EQ("tape writer", ReadKernelFile(folder.File("comm")));
}

TEST(KernelFileTest, SaysNothingWhereWhatItTellsOfIsGone)
{
    const TemporaryFolder folder;
    EXPECT_EQ("", ReadKernelFile(folder.File("none")));
    EXPECT_EQ("", ReadKernelFile(folder.Path())); // opens, and cannot be read
}

} // namespace

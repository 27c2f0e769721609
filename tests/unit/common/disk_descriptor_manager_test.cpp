#include "common/disk_descriptor_manager.h"

#include <gtest/gtest.h>

namespace {

struct UrnRow {
    const char* name;
    const char* urn;
    const char* uri;
};

class DiskDescriptorManagerUrnTest : public ::testing::TestWithParam<UrnRow> {};

TEST_P(DiskDescriptorManagerUrnTest, UrnToUriGivesTheUri)
{
    const std::string urn = GetParam().urn;
    EXPECT_EQ(GetParam().uri, DiskDescriptorManager::urnToUri(urn));
    EXPECT_EQ(GetParam().urn, urn);
}

INSTANTIATE_TEST_SUITE_P(Urn, DiskDescriptorManagerUrnTest,
                         ::testing::Values(UrnRow{"Usual", "urn:sites:1:vms:2", "/service/sites/1/vms/2"},
                                           UrnRow{"Empty", "", ""}, UrnRow{"WithoutColon", "urn", "urn"},
                                           UrnRow{"PathWithoutColon", "/service/sites/1", "/service/sites/1"},
                                           UrnRow{"ColonAmongTheFirstThree", "ab:cd", "/servicecd"},
                                           UrnRow{"AnotherPrefix", "xyz:a", "/service/a"},
                                           UrnRow{"LongerPrefix", "urns:a", "/services/a"},
                                           UrnRow{"OnlyAColon", ":", "/service"},
                                           UrnRow{"ShorterThanThree", "a:", "/service"},
                                           UrnRow{"ThreeCharacters", "a:b", "/service"},
                                           UrnRow{"AdjacentColons", "urn::a:", "/service//a/"}),
                         [](const auto& row) { return row.param.name; });

TEST(DiskDescriptorManagerObjectTest, UrnToUriNeedsNoStateOfAnObject)
{
    DiskDescriptorManager manager;
    EXPECT_EQ("/service/a", manager.urnToUri("urn:a"));
}

} // namespace

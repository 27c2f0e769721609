#include "tests/host/node.h"

using ::testing::ElementsAre;

namespace {

class FcPortsTest : public Node {
protected:
    void HasPort(const std::string& host, const std::string& text) const
    {
        WriteNodeFile("/sys/class/fc_host/" + host + "/port_name", text);
    }

    std::vector<std::string> m_names = {"from before"};
};

TEST_F(FcPortsTest, GetFCInitorOnANodeWithoutFcFails)
{
    EXPECT_FALSE(m_device.GetFCInitor(m_names));
    EXPECT_THAT(m_names, ElementsAre("from before"));
}

TEST_F(FcPortsTest, GetFCInitorTellsEveryPortInTheShellsOrder)
{
    HasPort("host2", "0x200002000000000a\n");
    HasPort("host10", "0x200002000000000b\n");
    HasPort("host3", "0x21000024FF4B8C1A\n");
    EXPECT_TRUE(m_device.GetFCInitor(m_names));
    EXPECT_THAT(m_names, ElementsAre("from before", "200002000000000b", "200002000000000a", "21000024FF4B8C1A"));
}

TEST_F(FcPortsTest, GetFCInitorWithAPortThatCannotBeReadFails)
{
    HasPort("host2", "0x200002000000000a\n");
    HasPort("host3/port_name", ""); // a folder in the file's place
    EXPECT_FALSE(m_device.GetFCInitor(m_names));
    EXPECT_THAT(m_names, ElementsAre("from before"));
}

} // namespace

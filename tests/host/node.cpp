#include "tests/host/node.h"

#include "common/framework/shell_runner.h"
#include "tests/host/node_root.h"

#include <boost/filesystem/operations.hpp>

#include <stdlib.h>

namespace fs = boost::filesystem;

namespace {

// Reads the node's files for the library's two commands, with whatever the machine's own cat has to say.
const std::string CAT_OF_NODE = R"(case $1 in
    /sys/class/fc_host/*) exec /bin/cat "$root"/sys/class/fc_host/host*/port_name ;;
    *) exec /bin/cat "$root$1" ;;
esac
)";

const std::string ISCSIADM = R"(if [ "$*" != '-m session -P 1' ]; then
    echo "iscsiadm: not expected: $*" >&2
    exit 7
fi
/bin/cat "$here/sessions"
/bin/cat "$here/session_errors" >&2
)";

} // namespace

Node::Node()
    : m_root(NodeRoot::IsPrivate() ? "" : m_folder.File("root"))
{
    m_folder.Write("node.ini",
                   "[Log]\nFile = " + m_folder.File("node.log") + "\n[Shell]\nPath = " + m_folder.File("bin") + "\n");
    setenv("PRODUCT_STORAGE_CONFIG", m_folder.File("node.ini").c_str(), 1);
    fs::create_directories(m_folder.File("bin"));
    if (!NodeRoot::IsPrivate()) {
        MakeProgram("cat", "root='" + m_root + "'\n" + CAT_OF_NODE);
    }
}

Node::~Node()
{
    boost::system::error_code ignored;
    fs::remove_all(PathOf(INITIATOR_FILE), ignored);
    fs::remove_all(PathOf("/sys/class/fc_host"), ignored);
}

void Node::UseAwk(const std::string& name) const
{
    const fs::path program = "/usr/bin/" + name;
    ASSERT_TRUE(fs::exists(program)) << name << " is not installed";
    fs::create_symlink(program, m_folder.File("bin/awk"));
    ASSERT_THAT(Run("readlink -f \"$(command -v awk)\""), testing::ElementsAre(fs::canonical(program).string()));
}

void Node::WriteNodeFile(const std::string& path, const std::string& text) const
{
    WriteText(PathOf(path), text);
}

void Node::ListsSessions(const std::string& output, const std::string& errors, int status) const
{
    m_folder.Write("sessions", output);
    m_folder.Write("session_errors", errors);
    MakeProgram("iscsiadm", "here='" + m_folder.Path() + "'\n" + ISCSIADM + "exit " + std::to_string(status) + "\n");
}

std::vector<std::string> Node::Run(const std::string& command)
{
    std::vector<std::string> out;
    std::vector<std::string> err;
    EXPECT_EQ(0, runShellCmdWithOutput(severity_level::Info, "HostTest", 0, command, {}, out, err));
    EXPECT_THAT(err, testing::IsEmpty());
    return out;
}

void Node::MakeProgram(const std::string& name, const std::string& script) const
{
    WriteProgram(m_folder.File("bin/" + name), script);
}

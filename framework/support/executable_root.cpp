#include "framework/support/executable_root.h"

#include "framework/support/immortal.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

namespace Framework {

namespace {

std::string FindExecutableRoot()
{
    boost::system::error_code error;
    const boost::filesystem::path executable = boost::filesystem::read_symlink("/proc/self/exe", error);
    const std::string root = executable.parent_path().parent_path().string();
    return root == "/" ? "" : root;
}

struct RootText {
    const std::string text = FindExecutableRoot();
};

} // namespace

const std::string& ExecutableRoot()
{
    return Immortal<RootText>().text;
}

} // namespace Framework

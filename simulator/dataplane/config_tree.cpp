#include "simulator/dataplane/config_tree.h"

#include "base/descriptor.h"
#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

namespace ZavSim::ConfigTree {

void MakeFolder(const std::string& path)
{
    constexpr mode_t MODE = 0755;
    if (::mkdir(path.c_str(), MODE) != 0 && errno != EEXIST) {
        Base::ThrowErrno("cannot make", path);
    }
}

void RemoveFolder(const std::string& path)
{
    if (::rmdir(path.c_str()) != 0 && errno != ENOENT) {
        Base::ThrowErrno("cannot remove", path);
    }
}

void Write(const std::string& path, const std::string& value)
{
    constexpr mode_t MODE = 0644;
    // Only a plain folder lets the file be made: the kernel's objects have all of theirs.
    const Base::Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, MODE));
    if (!file.IsOpen() || ::write(file.Get(), value.data(), value.size()) != static_cast<ssize_t>(value.size())) {
        Base::ThrowErrno("cannot write \"" + value + "\" to", path);
    }
}

void Link(const std::string& object, const std::string& path)
{
    if (::symlink(object.c_str(), path.c_str()) != 0 && errno != EEXIST) {
        Base::ThrowErrno("cannot link " + object + " as", path);
    }
}

void Unlink(const std::string& path)
{
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        Base::ThrowErrno("cannot unlink", path);
    }
}

bool Exists(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

std::vector<std::string> FoldersIn(const std::string& path, const std::string& begin)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(path, error)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(begin, 0) == 0 && entry.is_directory() && !entry.is_symlink()) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::string> LinkIn(const std::string& path)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(path, error)) {
        if (entry.is_symlink()) {
            return entry.path().filename().string();
        }
    }
    return std::nullopt;
}

} // namespace ZavSim::ConfigTree

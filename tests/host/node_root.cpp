#include "tests/host/node_root.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <string>

namespace {

bool isPrivate = false;

bool WriteMap(const char* path, const std::string& text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    const bool isWritten = file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (file >= 0) {
        close(file);
    }
    return isWritten;
}

// Root may have mounts of its own; anybody else must become root of a user namespace for it.
bool LeaveMounts()
{
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (geteuid() == 0 && unshare(CLONE_NEWNS) == 0) {
        return true;
    }
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && WriteMap("/proc/self/setgroups", "deny") &&
           WriteMap("/proc/self/uid_map", "0 " + user + " 1") && WriteMap("/proc/self/gid_map", "0 " + group + " 1");
}

bool Cover(const char* folder)
{
    return mount("node", folder, "tmpfs", 0, "mode=0755") == 0;
}

} // namespace

void NodeRoot::Enter()
{
    isPrivate = LeaveMounts() && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                Cover("/etc/iscsi") && Cover("/sys/class");
}

bool NodeRoot::IsPrivate()
{
    return isPrivate;
}

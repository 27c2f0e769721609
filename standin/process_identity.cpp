#include "standin/process_identity.h"

#include "base/files.h"
#include "base/process.h"

#include <poll.h>

#include <cerrno>
#include <csignal>
#include <limits>
#include <optional>
#include <sstream>

namespace ZavSimNode {

namespace {

struct ProcessStat {
    char state = 0;
    std::uint64_t start = 0;
};

// Nothing when there is no such process.
std::optional<std::string> ReadStatText(pid_t pid)
{
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    std::string text;
    const Base::Descriptor file = Base::OpenForReading(path);
    const int error =
        file.IsOpen() ? Base::ReadToEnd(file.Get(), std::numeric_limits<std::size_t>::max(), text) : errno;
    if (error == ENOENT || error == ESRCH) { // the latter when it ended while its file was read
        return std::nullopt;
    }
    if (error != 0) {
        errno = error;
        Base::ThrowErrno("cannot read", path);
    }
    return text;
}

ProcessStat ReadStat(pid_t pid)
{
    ProcessStat stat;
    const std::optional<std::string> text = ReadStatText(pid);
    // The command's name stands in parentheses and may hold anything, so what follows counts from the last of them.
    const std::size_t name = text ? text->rfind(')') : std::string::npos;
    if (name == std::string::npos) {
        return stat;
    }
    std::istringstream rest(text->substr(name + 1));
    rest >> stat.state;
    constexpr int FIELDS_UP_TO_START = 18;
    std::string skipped;
    for (int i = 0; i < FIELDS_UP_TO_START; ++i) {
        rest >> skipped;
    }
    rest >> stat.start;
    return stat;
}

bool WaitEnd(int pidDescriptor, std::chrono::milliseconds limit)
{
    pollfd waiting{pidDescriptor, POLLIN, 0};
    return ::poll(&waiting, 1, static_cast<int>(limit.count())) > 0;
}

} // namespace

ProcessIdentity ProcessIdentity::Of(pid_t pid)
{
    return {pid, ReadStat(pid).start};
}

bool ProcessIdentity::IsAlive() const
{
    const ProcessStat stat = ReadStat(pid);
    return start != 0 && stat.start == start && stat.state != 'Z' && stat.state != 'X';
}

bool EndProcess(const ProcessIdentity& process, std::chrono::milliseconds patience)
{
    const Base::Descriptor descriptor = Base::OpenProcess(process.pid);
    // Asked after the descriptor is had: from here on it cannot come to mean another process. Without one the process
    // may be there all the same, and is left alone.
    const bool isAlive = process.IsAlive();
    if (!descriptor.IsOpen() || !isAlive) {
        return !isAlive;
    }
    Base::SignalProcess(descriptor, SIGTERM);
    if (WaitEnd(descriptor.Get(), patience)) {
        return true;
    }
    Base::SignalProcess(descriptor, SIGKILL);
    return WaitEnd(descriptor.Get(), patience);
}

} // namespace ZavSimNode

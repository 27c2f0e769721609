#include "standin/process_identity.h"

#include "base/files.h"
#include "base/process.h"

#include <poll.h>

#include <csignal>
#include <optional>
#include <sstream>

namespace ZavSimNode {

namespace {

struct ProcessStat {
    char state = 0;
    std::uint64_t start = 0;
};

ProcessStat ReadStat(pid_t pid)
{
    ProcessStat stat;
    std::optional<std::string> text;
    try {
        text = Base::ReadFileIfThere("/proc/" + std::to_string(pid) + "/stat");
    } catch (const std::exception&) {
        return stat; // the process ended while its file was read
    }
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
    // Asked after the descriptor is had: from here on it cannot come to mean another process.
    if (!descriptor.IsOpen() || !process.IsAlive()) {
        return true;
    }
    Base::SignalProcess(descriptor, SIGTERM);
    if (WaitEnd(descriptor.Get(), patience)) {
        return true;
    }
    Base::SignalProcess(descriptor, SIGKILL);
    return WaitEnd(descriptor.Get(), patience);
}

} // namespace ZavSimNode

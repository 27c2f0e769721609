#include "cli/node/block_device_uses.h"

#include "base/descriptor.h"
#include "cli/node/kernel_file.h"

#include <boost/filesystem.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>

namespace fs = boost::filesystem;

namespace {

std::vector<fs::path> EntriesOf(const fs::path& folder)
{
    boost::system::error_code error;
    std::vector<fs::path> entries;
    for (fs::directory_iterator each(folder, error), end; !error && each != end; each.increment(error)) {
        entries.push_back(each->path());
    }
    return entries;
}

/// A disk or one of its partitions.
struct Device {
    std::string name;
    std::string number; ///< "8:16"
};

std::vector<Device> DeviceAndPartitions(const std::string& disk)
{
    const fs::path folder = "/sys/block/" + disk;
    std::vector<Device> devices = {{disk, ReadKernelFile((folder / "dev").string())}};
    for (const fs::path& entry : EntriesOf(folder)) {
        const std::string name = entry.filename().string();
        if (name.rfind(disk, 0) == 0) {
            devices.push_back({name, ReadKernelFile((entry / "dev").string())});
        }
    }
    return devices;
}

// Of a line of /proc/self/mountinfo the third word is the device's number, the fifth where it is mounted.
void AddMounts(const Device& device, std::vector<std::string>& uses)
{
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream words(line);
        std::string id;
        std::string parent;
        std::string number;
        std::string root;
        std::string place;
        words >> id >> parent >> number >> root >> place;
        if (!device.number.empty() && number == device.number) {
            uses.push_back("is mounted at " + place);
        }
    }
}

void AddSwap(const Device& device, std::vector<std::string>& uses)
{
    std::ifstream swaps("/proc/swaps");
    for (std::string line; std::getline(swaps, line);) {
        if (line.substr(0, line.find_first_of(" \t")) == "/dev/" + device.name) {
            uses.emplace_back("is swapped to");
        }
    }
}

void AddHolders(const std::string& disk, const Device& device, std::vector<std::string>& uses)
{
    const fs::path folder = "/sys/block/" + (device.name == disk ? disk : disk + "/" + device.name) + "/holders";
    for (const fs::path& holder : EntriesOf(folder)) {
        uses.push_back("is held by " + holder.filename().string());
    }
}

bool HasOpen(const fs::path& process, const std::vector<Device>& devices)
{
    const std::vector<fs::path> files = EntriesOf(process / "fd");
    return std::any_of(files.begin(), files.end(), [&devices](const fs::path& file) {
        struct stat status = {};
        if (::stat(file.c_str(), &status) != 0 || !S_ISBLK(status.st_mode)) {
            return false;
        }
        const std::string number = std::to_string(major(status.st_rdev)) + ":" + std::to_string(minor(status.st_rdev));
        return std::any_of(devices.begin(), devices.end(),
                           [&number](const Device& device) { return device.number == number; });
    });
}

void AddProcesses(const std::vector<Device>& devices, std::vector<std::string>& uses)
{
    for (const fs::path& process : EntriesOf("/proc")) {
        const std::string id = process.filename().string();
        if (id.find_first_not_of("0123456789") == std::string::npos && HasOpen(process, devices)) {
            uses.push_back("is open in process " + id + " (" + ReadKernelFile((process / "comm").string()) + ")");
        }
    }
}

// Whatever else claims it for itself alone.
void AddClaim(const std::string& disk, std::vector<std::string>& uses)
{
    const Base::Descriptor claim(::open(("/dev/" + disk).c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC));
    if (!claim.IsOpen() && errno == EBUSY) {
        uses.emplace_back("is claimed by the kernel");
    }
}

} // namespace

std::vector<std::string> BlockDevice::UsesOf(const std::string& disk)
{
    const std::vector<Device> devices = DeviceAndPartitions(disk);
    std::vector<std::string> uses;
    for (const Device& device : devices) {
        AddMounts(device, uses);
        AddSwap(device, uses);
        AddHolders(disk, device, uses);
    }
    AddProcesses(devices, uses);
    if (uses.empty()) {
        AddClaim(disk, uses);
    }
    return uses;
}

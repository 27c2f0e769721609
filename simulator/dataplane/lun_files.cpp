#include "simulator/dataplane/lun_files.h"

#include "base/descriptor.h"
#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr mode_t OWNER_ONLY = 0600;

std::uint64_t NumberOf(const Json::Value& record, const char* member)
{
    return std::stoull(record[member].asString());
}

std::string MakeFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder)) {
        throw std::runtime_error("cannot use the folder " + folder +
                                 " for the LUNs' contents: " + (error ? error.message() : "it is not a folder"));
    }
    return std::filesystem::canonical(folder).string(); // targets have other working folders
}

} // namespace

LunFiles::LunFiles(const std::string& folder, const Inventory& inventory)
    : m_folder(MakeFolder(folder))
    , m_use("the folder " + m_folder, m_folder + "/lock")
    , m_inventory(inventory)
{
}

BackedLun LunFiles::Open(std::uint64_t lun) const
{
    const Json::Value record = m_inventory.LunRecord(lun);
    BackedLun backed;
    backed.file = m_folder + "/lun-" + std::to_string(lun);
    backed.wwn = record["WWN"].asString();
    backed.sectorSize = NumberOf(record, "SECTORSIZE");
    backed.bytes = NumberOf(record, "CAPACITY") * backed.sectorSize;

    const Base::Descriptor file(::open(backed.file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, OWNER_ONLY));
    struct stat status {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0) {
        Base::ThrowErrno("cannot open", backed.file);
    }
    if (status.st_size == 0 && ::ftruncate(file.Get(), static_cast<off_t>(backed.bytes)) != 0) {
        Base::ThrowErrno("cannot give its size to", backed.file);
    }
    if (status.st_size != 0 && static_cast<std::uint64_t>(status.st_size) != backed.bytes) {
        throw std::runtime_error(backed.file + " has " + std::to_string(status.st_size) + " bytes, the LUN has " +
                                 std::to_string(backed.bytes));
    }
    return backed;
}

} // namespace ZavSim

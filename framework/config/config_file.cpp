#include "framework/config/config_file.h"

#include "base/files.h"
#include "framework/support/executable_root.h"
#include "framework/support/immortal.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <tuple>

namespace Framework {

namespace {

constexpr std::size_t MAX_FILE_BYTES = 1024 * 1024;

std::int64_t Nanoseconds(const timespec& time)
{
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileState StateOf(const struct stat& status)
{
    FileState state;
    state.device = status.st_dev;
    state.inode = status.st_ino;
    state.size = status.st_size;
    state.modifiedNanoseconds = Nanoseconds(status.st_mtim);
    state.changedNanoseconds = Nanoseconds(status.st_ctim);
    return state;
}

FileState FailedState(int error)
{
    FileState state;
    state.error = error;
    return state;
}

struct ProductsFile {
    const std::string path = ExecutableRoot() + "/conf/backupnode.ini";
};

} // namespace

bool FileState::operator==(const FileState& other) const
{
    const auto members = [](const FileState& state) {
        return std::tie(state.error, state.device, state.inode, state.size, state.modifiedNanoseconds,
                        state.changedNanoseconds);
    };
    return members(*this) == members(other);
}

const char* ConfigFilePath()
{
    const char* const path = std::getenv("PRODUCT_STORAGE_CONFIG");
    return path != nullptr && *path != '\0' ? path : Immortal<ProductsFile>().path.c_str();
}

FileState LookAtFile(const char* path)
{
    struct stat status = {};
    return ::stat(path, &status) == 0 ? StateOf(status) : FailedState(errno);
}

void ReadConfigText(const std::string& path, std::string& text, FileState& state)
{
    text.clear();
    const Base::Descriptor file = Base::OpenForReading(path);
    struct stat status = {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0) {
        state = FailedState(errno);
        return;
    }
    state = StateOf(status);
    state.error = S_ISREG(status.st_mode) ? Base::ReadToEnd(file.Get(), MAX_FILE_BYTES, text) : EISDIR;
}

} // namespace Framework

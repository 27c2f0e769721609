#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_FILE_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_FILE_H

#include <cstdint>
#include <string>

namespace Framework {

/// The file that is read: the one that the environment names, else the product's. The text is good for as long as the
/// environment stays as it is; it costs no memory.
const char* ConfigFilePath();

/// What stat says of a file; a changed file has another state.
struct FileState {
    int error = 0; ///< the error number when the file cannot be looked at; ENOENT for a missing one
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modifiedNanoseconds = 0;
    std::int64_t changedNanoseconds = 0; ///< of the content or of the file's own data, such as its mode

    bool operator==(const FileState& other) const;
    bool operator!=(const FileState& other) const { return !(*this == other); }
};

FileState LookAtFile(const char* path);

/// Reads the file. `state` is that of the very file that was read; its error is that of the reading.
void ReadConfigText(const std::string& path, std::string& text, FileState& state);

} // namespace Framework

#endif

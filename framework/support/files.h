#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_FILES_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_FILES_H

#include <cstddef>
#include <string>

namespace Framework {

/// Reads from `fd` to its end. 0, or the error number; EFBIG when there are more than `limit` bytes. `text` receives
/// what was read, after an error too.
int ReadToEnd(int fd, std::size_t limit, std::string& text);

/// Writes all of `text`. 0, or the error number.
int WriteWhole(int fd, const std::string& text);

/// Replaces the file at `path` by one with `text` and mode `mode`, so that a reader finds either the old file or the
/// new one, whole, and so does one after a power failure. 0, or the error number; the old file then stands.
int ReplaceFile(const std::string& path, const std::string& text, unsigned int mode);

/// Makes the directory of the file `path` and those above it. Where that fails, opening the file tells why.
void MakeParentDirectory(const std::string& path);

/// Makes the entries of `path`'s directory last through a power failure, as far as the file system does.
void SyncParentDirectory(const std::string& path);

/// A name beside `path` that no other thread or process uses.
std::string TemporaryName(const std::string& path);

/// The system's text for an error number, such as "Permission denied".
std::string ErrorText(int errorNumber);

} // namespace Framework

#endif

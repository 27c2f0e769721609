#ifndef PRODUCT_STORAGE_BASE_FILES_H
#define PRODUCT_STORAGE_BASE_FILES_H

#include "base/descriptor.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Whole files. Operations that return an `int` give 0 or the error number.
namespace Base {

enum class Links { Followed, Refused };

/// Opens the file for reading, without waiting where it is a pipe that nobody writes to. When that fails, the
/// descriptor is not open and errno tells why: ELOOP for a link at `path` itself that is refused.
Descriptor OpenForReading(const std::string& path, Links links = Links::Followed);

/// Reads from `descriptor` to its end; EFBIG when there are more than `limit` bytes. `text` receives what was read,
/// after an error too.
int ReadToEnd(int descriptor, std::size_t limit, std::string& text);

/// Writes all of `text`.
int WriteWhole(int descriptor, std::string_view text);

/// The same; a pipe whose reader has gone is EPIPE, and raises no SIGPIPE, whatever the program made of that signal.
int WriteWithoutSigpipe(int descriptor, std::string_view text);

/// The whole file; nothing when there is no such file. Throws std::runtime_error naming the file and why when it is
/// there but cannot be read.
std::optional<std::string> ReadFileIfThere(const std::string& path);

/// Whether something is at `path` that is no regular file, such as a device, which is not to be replaced by one. Links
/// are followed.
bool IsOtherThanFile(const std::string& path);

/// Writes `text` to a new file beside `path`, with mode `mode` whatever the process's mask, flushes it to the disk, and
/// tells its name in `temporary`. No file that was there is touched, and on failure none is left.
int WriteBeside(const std::string& path, std::string_view text, unsigned int mode, std::string& temporary);

/// Replaces the file at `path` by one with `text` and mode `mode`, whatever the process's mask: a reader finds either
/// the old file or the new one, whole, and so does one after a power failure. On failure the old file stands, and no
/// other is left.
int ReplaceFile(const std::string& path, std::string_view text, unsigned int mode);

/// The same; throws std::runtime_error naming the file and why.
void SaveFile(const std::string& path, std::string_view text, unsigned int mode);

/// Gives the file at `path` new content as ReplaceFile does, and keeps what its owner made of it: a link is followed, a
/// file that may not be opened for writing is not replaced, mode, owner and group stay. A file that is not there gets
/// `newMode` less the process's mask. Where the file cannot be replaced, because its folder may not gain files, because
/// it is a mount of its own, or because it is no regular file, its owner cannot be kept or its name leaves no room for
/// another's, it is written in place: then a crash or a full disk may leave a part.
int RewriteFile(const std::string& path, std::string_view text, unsigned int newMode);

/// Makes the directory of the file `path` and those above it. Where that fails, opening the file tells why.
void MakeParentDirectory(const std::string& path);

/// Makes the entries of `path`'s directory last through a power failure, as far as the file system does.
void SyncParentDirectory(const std::string& path);

/// A name beside `path` that was not given before. Each product that links this counts for itself, and a process of the
/// same number that was killed may have left a file of that name: who makes it asks for a new one (O_EXCL), and takes
/// the next name where it is there.
std::string TemporaryName(const std::string& path);

/// The system's text for an error number, such as "Permission denied".
std::string ErrorText(int errorNumber);

/// Throws std::runtime_error made of `what`, `path` and the text of errno.
[[noreturn]] void ThrowErrno(const std::string& what, const std::string& path);

} // namespace Base

#endif

#ifndef PRODUCT_STORAGE_CLI_RECORD_OWN_JOURNAL_H
#define PRODUCT_STORAGE_CLI_RECORD_OWN_JOURNAL_H

#include "cli/array/array_objects.h"

#include <cstdint>
#include <string>
#include <vector>

/// The journal of what this node makes on arrays, which the open provider of the framework keeps. With another provider
/// there is none: nothing stands in it, and nothing is written.
namespace OwnJournal {

struct Entry {
    std::string device;
    std::string kind; ///< an ObjectKind's words, or "iSCSI session"
    std::string name;
    std::string id;        ///< empty: it may be there under this name, or not
    std::int64_t time = 0; ///< seconds since the epoch: when it was made, or was set out to be
};

/// Whether there is one at all.
bool IsKept();

/// The file's path; empty where none is kept.
std::string Path();

/// Throws Failure when nothing could be entered into it.
void RequireWritable();

/// Throws Failure when it cannot be read.
std::vector<Entry> Standing(const std::string& device);

/// Whether it names such an object, or one of this name whose id is not known, as made on that array. Throws Failure
/// when it cannot be read.
bool Names(const ObjectKind& kind, const std::string& device, const std::string& id, const std::string& name);

/// It was made. Throws Failure when it cannot be entered.
void Enter(const Entry& entry);

/// It was seen gone. What cannot be written is said.
void Drop(const Entry& entry);

} // namespace OwnJournal

#endif

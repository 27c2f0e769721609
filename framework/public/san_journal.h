#ifndef PRODUCT_STORAGE_FRAMEWORK_PUBLIC_SAN_JOURNAL_H
#define PRODUCT_STORAGE_FRAMEWORK_PUBLIC_SAN_JOURNAL_H

#include "common/framework/export.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// What this open provider of the framework offers beyond the product's interfaces.
namespace OpenFramework {

/// An object that this node made on an array, or set out to make; or, entered by a program, an iSCSI session with it.
struct JournalEntry {
    std::string device; ///< the array's device id
    std::string kind;   ///< "host", "host group", "LUN group" or "mapping view"; "iSCSI session"
    std::string name;   ///< of a session: its target
    /// Of a session: its portal. Empty when the outcome is not known: it may be there under this name, or not.
    std::string id;

    /// Seconds since the epoch, as Standing tells: when it was made, or was set out to be.
    std::int64_t time = 0;
};

/// The journal of what this node makes on arrays: each object is entered before the array is asked for it, and taken
/// out once it was not made or was seen gone. It is what tells our own objects from others, also where no record names
/// them. No secret is in it.
///
/// A file of one JSON object a line, appended to and flushed to the disk, 0600. Threads and processes may use it at
/// once: a lock file beside it keeps them apart. A line that a crash cut is passed over. Operations throw
/// std::runtime_error naming the file and the cause; nothing is lost by that but the entry at hand.
class PRODUCT_FRAMEWORK_API SanJournal {
public:
    /// `path` is the file's, which need not exist; its folder must.
    explicit SanJournal(std::string path)
        : m_path(std::move(path))
    {
    }

    /// Where this process keeps its own: "<folder above the program's>/conf/san-journal", beside the records.
    static std::string StandardPath();

    const std::string& Path() const noexcept { return m_path; }

    /// The object is about to be asked for. `entry.id` is not used.
    void Intend(const JournalEntry& entry) const;

    /// The array made it, and gave it `entry.id`.
    void Made(const JournalEntry& entry) const;

    /// It was not made, or it is gone. An entry without an id stands for all of the name, one with an id for that one
    /// and for an intent of the name.
    void Drop(const JournalEntry& entry) const;

    /// Throws where an entry could not be made, for want of rights or because something else is there. Changes nothing.
    void RequireWritable() const;

    /// What was made for that array, or may have been, and was not dropped; oldest first.
    std::vector<JournalEntry> Standing(const std::string& device) const;

private:
    std::string m_path;
};

} // namespace OpenFramework

#endif

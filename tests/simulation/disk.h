#ifndef PRODUCT_STORAGE_TESTS_SIMULATION_DISK_H
#define PRODUCT_STORAGE_TESTS_SIMULATION_DISK_H

#include <sys/types.h>

#include <map>
#include <string>

namespace Simulation {

/// One folder without folders in it, and what of it a disk would have after a power cut: names as they were when the
/// folder was last flushed, and each file's bytes as they were when the file was.
class Disk {
public:
    /// All that is in the folder now is on the disk.
    explicit Disk(std::string folder);

    /// A descriptor of `path` was flushed.
    void Flushed(const std::string& path);

    /// Makes the folder what it may be after a power cut; `variant` draws how much of what was not flushed is lost.
    void CutPower(unsigned int variant);

private:
    std::map<std::string, ino_t> Names() const;

    std::string m_folder;
    std::map<std::string, ino_t> m_names;    ///< on the disk
    std::map<ino_t, std::string> m_contents; ///< on the disk
};

} // namespace Simulation

#endif

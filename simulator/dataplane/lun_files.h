#ifndef ZAVSIM_DATAPLANE_LUN_FILES_H
#define ZAVSIM_DATAPLANE_LUN_FILES_H

#include "simulator/array/inventory.h"
#include "simulator/array/sole_use.h"

#include <cstdint>
#include <string>

namespace ZavSim {

/// A LUN as a target has to show it.
struct BackedLun {
    std::string file;
    std::string wwn; ///< 32 hexadecimal digits, as the array's inventory tells it
    std::uint64_t bytes = 0;
    std::uint64_t sectorSize = 512;
};

/// The contents of the array's LUNs: sparse files of the LUNs' sizes in one folder, "lun-0", "lun-1", …
///
/// Files are made as they are needed and stay, so that a LUN keeps its content when it goes and comes again. The
/// inventory must outlive it. The file "lock" there keeps other simulators from the folder. Any thread may call.
class LunFiles {
public:
    /// Makes the folder when it is missing. Throws std::runtime_error naming it, also when another simulator uses it.
    LunFiles(const std::string& folder, const Inventory& inventory);

    /// The LUN and its file, made when it is missing. Throws std::runtime_error naming the file, also when what is
    /// there has another size.
    BackedLun Open(std::uint64_t lun) const;

private:
    const std::string m_folder;
    const SoleUse m_use;
    const Inventory& m_inventory;
};

} // namespace ZavSim

#endif

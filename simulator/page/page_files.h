#ifndef ZAVSIM_PAGE_PAGE_FILES_H
#define ZAVSIM_PAGE_PAGE_FILES_H

#include <string_view>
#include <vector>

namespace ZavSim {

struct PageFile {
    std::string_view name; ///< "journal.js"
    std::string_view text;
};

/// The files of the folder files/, as they were when the program was built.
const std::vector<PageFile>& AllPageFiles();

} // namespace ZavSim

#endif

#ifndef PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_FRAMEWORK_HOME_H
#define PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_FRAMEWORK_HOME_H

#include "tests/support/files.h"

#include <stdlib.h>

#include <string>

namespace Fuzz {

/// Has the framework of this process work in a folder of its own: with the settings `settings`, and without a log.
class FrameworkHome {
public:
    explicit FrameworkHome(const std::string& settings = {})
    {
        m_folder.Write("framework.ini", "[Log]\nFile =\nLevel = 4\n" + settings);
        ::setenv("PRODUCT_STORAGE_CONFIG", m_folder.File("framework.ini").c_str(), 1);
    }

    const TemporaryFolder& Folder() const { return m_folder; }

private:
    const TemporaryFolder m_folder;
};

} // namespace Fuzz

#endif

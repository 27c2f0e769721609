#ifndef PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_SCRATCH_FOLDER_H
#define PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_SCRATCH_FOLDER_H

#include "tests/fuzz/support/require.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Fuzz {

/// A folder of this process's own, gone with it.
class ScratchFolder {
public:
    ScratchFolder()
        : m_path((std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string())
    {
        Require(::mkdtemp(m_path.data()) != nullptr, "a folder for the target's files can be made");
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string PathOf(const std::string& name) const { return m_path + "/" + name; }

    std::string Read(const std::string& name) const
    {
        std::ifstream file(PathOf(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    void Write(const std::string& name, const std::string& text) const
    {
        std::ofstream file(PathOf(name), std::ios::binary | std::ios::trunc);
        file << text;
        file.close();
        Require(!file.fail(), "the target's file can be written");
    }

private:
    std::string m_path;
};

} // namespace Fuzz

#endif

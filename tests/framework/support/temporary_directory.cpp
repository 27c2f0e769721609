#include "tests/framework/support/temporary_directory.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>

TemporaryDirectory::TemporaryDirectory()
    : m_path(std::filesystem::temp_directory_path() / "framework_test_XXXXXX")
{
    if (::mkdtemp(m_path.data()) == nullptr) {
        throw std::runtime_error("no temporary directory can be made");
    }
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string ReadText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void WriteText(const std::string& path, const std::string& text)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

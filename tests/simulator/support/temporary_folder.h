#ifndef TESTS_SIMULATOR_SUPPORT_TEMPORARY_FOLDER_H
#define TESTS_SIMULATOR_SUPPORT_TEMPORARY_FOLDER_H

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace ZavSimTest {

/// A folder of its own for one test, gone with it.
class TemporaryFolder {
public:
    TemporaryFolder()
        : m_path((std::filesystem::temp_directory_path() / "zavsim-test-XXXXXX").string())
    {
        if (::mkdtemp(m_path.data()) == nullptr) {
            throw std::runtime_error("no temporary folder " + m_path);
        }
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }

    void Write(const std::string& name, const std::string& text) const { std::ofstream(File(name)) << text; }

    std::string Read(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(File(name)).rdbuf();
        return text.str();
    }

private:
    std::string m_path;
};

} // namespace ZavSimTest

#endif

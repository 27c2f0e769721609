#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_TEMPORARY_DIRECTORY_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_TEMPORARY_DIRECTORY_H

#include <string>

/// A new empty directory, removed with all that is in it.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory();

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

/// The whole content of a file; empty when there is none.
std::string ReadText(const std::string& path);

/// Writes a file in place, with the directories above it.
void WriteText(const std::string& path, const std::string& text);

#endif

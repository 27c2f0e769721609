#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_FILES_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_FILES_H

#include <string>

/// The whole content of a file; empty when there is none.
std::string ReadText(const std::string& path);

/// Writes a file in place, with the directories above it. Throws std::runtime_error when it cannot.
void WriteText(const std::string& path, const std::string& text);

/// Writes a program that sh runs, in the same way; `script` is what follows its first line.
void WriteProgram(const std::string& path, const std::string& script);

/// A new empty folder, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }
    std::string Read(const std::string& name) const { return ReadText(File(name)); }
    void Write(const std::string& name, const std::string& text) const { WriteText(File(name), text); }

private:
    std::string m_path;
};

#endif

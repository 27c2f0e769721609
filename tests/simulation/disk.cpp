#include "tests/simulation/disk.h"

#include "base/files.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace fs = std::filesystem;

namespace Simulation {

namespace {

std::string ContentOf(const std::string& path)
{
    return Base::ReadFileIfThere(path).value_or("");
}

ino_t InodeOf(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

} // namespace

Disk::Disk(std::string folder)
    : m_folder(std::move(folder))
    , m_names(Names())
{
    for (const auto& [name, inode] : m_names) {
        m_contents[inode] = ContentOf(m_folder + "/" + name);
    }
}

void Disk::Flushed(const std::string& path)
{
    if (path == m_folder) {
        m_names = Names();
    } else {
        m_contents[InodeOf(path)] = ContentOf(path);
    }
}

void Disk::CutPower(unsigned int variant)
{
    const bool areNamesWritten = variant % 3 != 0;
    const bool isHalfAppended = variant % 3 == 2;
    const std::map<std::string, ino_t> now = Names();
    std::map<std::string, std::string> left;
    for (const auto& [name, inode] : areNamesWritten ? now : m_names) {
        const auto flushed = m_contents.find(inode);
        left[name] = flushed == m_contents.end() ? "" : flushed->second;
        const auto current = now.find(name);
        if (isHalfAppended && current != now.end() && current->second == inode) {
            const std::string content = ContentOf(m_folder + "/" + name);
            const std::string& old = left[name];
            if (content.size() > old.size() && content.compare(0, old.size(), old) == 0) {
                left[name] = content.substr(0, old.size() + (content.size() - old.size()) / 2);
            }
        }
    }
    for (const auto& [name, inode] : now) {
        fs::remove(m_folder + "/" + name);
    }
    for (const auto& [name, content] : left) {
        std::ofstream(m_folder + "/" + name) << content;
    }
    *this = Disk(m_folder);
}

std::map<std::string, ino_t> Disk::Names() const
{
    std::map<std::string, ino_t> names;
    for (const auto& entry : fs::directory_iterator(m_folder)) {
        names[entry.path().filename()] = InodeOf(entry.path());
    }
    return names;
}

} // namespace Simulation

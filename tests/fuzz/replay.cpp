#include "tests/fuzz/support/input.h"
#include "tests/support/files.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

// Runs a target on every file of the folders that are named, of which the first must have some: what fuzzing started
// from, and what it has found, stay tests of every build.

namespace {

std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(folder)) {
        std::copy(std::filesystem::directory_iterator(folder), {}, std::back_inserter(files));
    }
    std::sort(files.begin(), files.end());
    return files;
}

void Replay(const std::filesystem::path& path)
{
    std::cout << path.string() << std::endl; // before it runs: the last line names what ended the program
    const std::string text = ReadText(path.string());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

} // namespace

int main(int count, char** arguments)
{
    const std::vector<std::string> folders(arguments + 1, arguments + count);
    if (folders.empty() || FilesIn(folders.front()).empty()) {
        std::cerr << "There are no seeds" << (folders.empty() ? "" : " in " + folders.front()) << ".\n";
        return 2;
    }
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (const std::string& folder : folders) {
        for (const std::filesystem::path& file : FilesIn(folder)) {
            Replay(file);
        }
    }
    return 0;
}

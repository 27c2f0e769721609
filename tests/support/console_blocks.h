#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_CONSOLE_BLOCKS_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_CONSOLE_BLOCKS_H

#include <string>
#include <vector>

/// A page of the manual, whose commands a test runs and compares with what the page shows below them.
namespace ConsoleBlocks {

/// All lines of a page. Throws std::runtime_error when there are none.
std::vector<std::string> Lines(const std::string& page);

/// The lines of the page's first block of a kind ("json"), without its fences.
std::string Block(const std::string& page, const std::string& kind);

/// The commands of the page's `console` blocks, those behind "$ ", as one bash script, and what they print according to
/// the page. A line of its own marks the end of each command's output in both.
struct Session {
    std::string script;
    std::string output;
    std::size_t commands = 0;
};
Session ReadSession(const std::string& page);

} // namespace ConsoleBlocks

#endif

#include "cli/node/kernel_file.h"

#include "base/files.h"

#include <boost/algorithm/string/trim.hpp>

std::string ReadKernelFile(const std::string& path)
{
    constexpr std::size_t A_PAGE = 4096; // as much as the kernel makes of one
    const Base::Descriptor file = Base::OpenForReading(path);
    std::string text;
    if (!file.IsOpen() || Base::ReadToEnd(file.Get(), A_PAGE, text) != 0) {
        return {};
    }
    boost::trim(text);
    return text;
}

#include "cli/node/local_disks.h"

#include "cli/node/kernel_file.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem.hpp>

#include <algorithm>

namespace fs = boost::filesystem;

std::string LocalDisks::PlainWwn(const std::string& text)
{
    std::string plain = boost::algorithm::to_lower_copy(text);
    for (const char* const prefix : {"naa.", "eui.", "0x"}) {
        if (boost::algorithm::starts_with(plain, prefix)) {
            plain.erase(0, std::string(prefix).size());
        }
    }
    return plain;
}

std::map<std::string, std::vector<std::string>> LocalDisks::ByWwn(const std::string& folder)
{
    std::map<std::string, std::vector<std::string>> disks;
    boost::system::error_code error;
    for (fs::directory_iterator each(folder, error), end; !error && each != end; each.increment(error)) {
        const std::string wwn = ReadKernelFile((each->path() / "device/wwid").string());
        if (!wwn.empty()) {
            disks[PlainWwn(wwn)].push_back(each->path().filename().string());
        }
    }
    for (auto& [wwn, names] : disks) {
        std::sort(names.begin(), names.end());
    }
    return disks;
}

#include "cli/local_disks.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem.hpp>

#include <algorithm>
#include <fstream>

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
        std::ifstream file((each->path() / "device/wwid").string());
        std::string wwn;
        if (file >> wwn) {
            disks[PlainWwn(wwn)].push_back(each->path().filename().string());
        }
    }
    for (auto& [wwn, names] : disks) {
        std::sort(names.begin(), names.end());
    }
    return disks;
}

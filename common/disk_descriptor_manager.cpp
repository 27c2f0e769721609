#include "common/disk_descriptor_manager.h"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>

std::string DiskDescriptorManager::urnToUri(const std::string& urn)
{
    if (urn.find(':') == std::string::npos) {
        return urn;
    }
    constexpr std::size_t PREFIX_LENGTH = 3;
    std::string uri = urn;
    uri.replace(0, std::min(PREFIX_LENGTH, uri.size()), "/service");
    boost::replace_all(uri, ":", "/");
    return uri;
}

#include "standin/initiator_name.h"

#include "base/files.h"
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace ZavSimNode {

std::string ReadInitiatorName()
{
    const char* const given = std::getenv("ZAVSIM_NODE_INITIATOR_FILE");
    const std::string path = given != nullptr && *given != '\0' ? given : "/etc/iscsi/initiatorname.iscsi";
    const auto text = Base::ReadFileIfThere(path);
    if (!text) {
        throw std::runtime_error("there is no file " + path);
    }
    const std::string key = "InitiatorName=";
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(key, 0) == 0 && line.size() > key.size()) {
            return line.substr(key.size(), line.find_first_of(" \t\r", key.size()) - key.size());
        }
    }
    throw std::runtime_error(path + " has no line that begins with " + key);
}

} // namespace ZavSimNode

#include "simulator/dataplane/data_plane.h"

namespace ZavSim {

std::string TargetName(const std::string& address)
{
    return "iqn.2020-01.example.zavsim:a:b:c:d:" + address;
}

} // namespace ZavSim

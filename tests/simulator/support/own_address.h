#ifndef PRODUCT_STORAGE_TESTS_SIMULATOR_SUPPORT_OWN_ADDRESS_H
#define PRODUCT_STORAGE_TESTS_SIMULATOR_SUPPORT_OWN_ADDRESS_H

#include <unistd.h>

#include <string>

namespace ZavSimTest {

/// An address of the loopback that no other process has: four to a process, by `number` from 0 to 3, from a range of 62
/// networks. Tests run side by side, with process ids that lie close together, so that each id has its own.
inline std::string OwnAddress(unsigned int firstNetwork, unsigned int number)
{
    constexpr unsigned int NETWORKS = 62; // of 65,536 addresses each
    const unsigned int host = (static_cast<unsigned int>(::getpid()) * 4 + number) % (NETWORKS * 65536);
    return "127." + std::to_string(firstNetwork + host / 65536) + "." + std::to_string(host / 256 % 256) + "." +
           std::to_string(host % 256);
}

} // namespace ZavSimTest

#endif

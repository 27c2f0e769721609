// memory_probe ENVIRONMENT TURNED
//
// Prepares a node by the environment in that file, as protobuf JSON, and prints for each place in its own memory that
// holds the secret a line "found in STACK OR FILE". TURNED is the secret with each byte's bits turned over, in
// hexadecimal digits, so that its plain form comes from the library alone. Then "init: 0" or "init: 1", as Init was
// false or true.
#include "common/framework/product_messages.pb.h"
#include "disklib/zav_storage_disk_lib.h"

#include <google/protobuf/util/json_util.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<unsigned char> FromHex(const std::string& digits)
{
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

bool IsAt(const unsigned char* place, const std::vector<unsigned char>& turned)
{
    for (std::size_t i = 0; i < turned.size(); ++i) {
        if (place[i] != static_cast<unsigned char>(~turned[i])) {
            return false;
        }
    }
    return true;
}

// Looks through what can be written to of this process, as a core would hold it; the copy that is looked through lies
// in memory of its own.
void Search(const std::vector<unsigned char>& turned)
{
    constexpr std::size_t PIECE = 1 << 20;
    void* const memory = ::mmap(nullptr, 2 * PIECE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* const buffer = static_cast<unsigned char*>(memory);
    const int self = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::ifstream maps("/proc/self/maps");
    std::vector<std::string> lines;
    for (std::string line; std::getline(maps, line);) {
        lines.push_back(line);
    }
    for (const std::string& line : lines) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        std::string rights;
        std::istringstream(line) >> std::hex >> begin >> dash >> end >> rights;
        const auto own = reinterpret_cast<std::uintptr_t>(memory);
        if (rights.compare(0, 2, "rw") != 0 || (begin <= own && own < end)) {
            continue;
        }
        for (std::uintptr_t at = begin; at < end; at += PIECE) {
            const std::size_t wanted = std::min<std::size_t>(PIECE + turned.size(), end - at);
            const ssize_t count = ::pread(self, buffer, wanted, static_cast<off_t>(at));
            for (ssize_t i = 0; i + static_cast<ssize_t>(turned.size()) <= count; ++i) {
                if (IsAt(buffer + i, turned)) {
                    std::cout << "found in " << line.substr(0, 120) << "\n";
                }
            }
        }
    }
    ::close(self);
    ::munmap(memory, 2 * PIECE);
}

} // namespace

int main(int argc, char** argv)
{
    constexpr int ARGUMENTS = 3;
    if (argc != ARGUMENTS) {
        std::cerr << "memory_probe ENVIRONMENT TURNED\n";
        return 2;
    }
    std::ostringstream text;
    text << std::ifstream(argv[1]).rdbuf();
    EnvironmentPath env;
    if (!google::protobuf::util::JsonStringToMessage(text.str(), &env).ok()) {
        std::cerr << argv[1] << ": no environment\n";
        return 2;
    }
    ZavMapInfo info;
    const bool isReady = ZavStorageDiskLib::GetInstance()->Init(env, info);
    Search(FromHex(argv[2]));
    std::cout << "init: " << isReady << std::endl;
    ZavStorageDiskLib::GetInstance()->StopCheckThread();
    return 0;
}

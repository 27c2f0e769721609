#include "common/framework/random_bytes.h"
#include "common/log.h"
#include "device/device_operate.h"
#include "device/log_module.h"

#include <string_view>

namespace {

const std::string NAME_PREFIX = "Vendrix_";
constexpr std::string_view NAME_ALPHABET = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
constexpr unsigned int NAME_LENGTH_LIMIT = 1024;
constexpr int RANDOM_FAILURE_LIMIT = 3;

} // namespace

bool DeviceOperate::GetRandStr(std::string& name, unsigned int length)
{
    PS_TRACE();
    if (length >= NAME_LENGTH_LIMIT) {
        PS_LOG(4) << "get random string failed, length " << length << " is not below " << NAME_LENGTH_LIMIT;
        return false;
    }
    std::string characters;
    int failures = 0; // in a row
    while (characters.size() < length) {
        unsigned int random = 0;
        if (getRandBytes(reinterpret_cast<unsigned char*>(&random), sizeof(random)) <= 0) {
            ++failures;
            continue;
        }
        // Looked at only when bytes come again, on purpose: a source that keeps failing is waited for.
        if (failures >= RANDOM_FAILURE_LIMIT) {
            PS_LOG(4) << "get random string failed, have been retry 3 times.";
            return false;
        }
        characters += NAME_ALPHABET[random % NAME_ALPHABET.size()];
        failures = 0;
    }
    name = NAME_PREFIX + characters;
    return true;
}

#include "base/utc_text.h"

#include <array>

namespace Base {

std::string UtcText(std::time_t time)
{
    std::tm parts = {};
    ::gmtime_r(&time, &parts);
    return UtcText(parts);
}

std::string UtcText(const std::tm& parts)
{
    std::array<char, 40> text = {}; // a year may have ten digits
    return {text.data(), std::strftime(text.data(), text.size(), UTC_FORMAT, &parts)};
}

} // namespace Base

#include "simulator/message/http_date.h"

#include <array>
#include <ctime>

namespace ZavSim {

std::string HttpDate(std::chrono::milliseconds ahead)
{
    const std::time_t time = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now() + ahead);
    std::tm parts = {};
    ::gmtime_r(&time, &parts);
    std::array<char, sizeof "Sun, 06 Nov 1994 08:49:37 GMT"> text = {};
    std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT",
                  &parts); // in the C locale, which is never left
    return text.data();
}

} // namespace ZavSim

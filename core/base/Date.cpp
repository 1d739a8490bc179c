#include "base/Date.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace lorekeep {

Date Date::now() {
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return fromUnixSeconds(std::chrono::duration<double>(since1970).count());
}

std::string Date::iso8601() const {
    const auto whole = static_cast<std::time_t>(std::floor(unixSeconds()));
    std::tm utc{};
    gmtime_r(&whole, &utc);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

} // namespace lorekeep

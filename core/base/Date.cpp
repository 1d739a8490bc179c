#include "base/Date.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <string_view>

namespace lorekeep {
namespace {

// The number in text[at, at + digits), or -1 when any of it is not a digit.
int digitsAt(std::string_view text, std::size_t at, std::size_t digits) {
    int value = 0;
    for (std::size_t i = at; i < at + digits; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

} // namespace

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

std::optional<Date> Date::fromIso8601(std::string_view text) {
    // 2024-05-05T12:03:27Z or 2024-05-05T12:03:27+02:00
    if (text.size() != 20 && text.size() != 25)
        return std::nullopt;
    if (text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' || text[16] != ':')
        return std::nullopt;
    std::tm fields{};
    fields.tm_year = digitsAt(text, 0, 4) - 1900;
    fields.tm_mon = digitsAt(text, 5, 2) - 1;
    fields.tm_mday = digitsAt(text, 8, 2);
    fields.tm_hour = digitsAt(text, 11, 2);
    fields.tm_min = digitsAt(text, 14, 2);
    fields.tm_sec = digitsAt(text, 17, 2);
    const std::tm asRead = fields;
    if (asRead.tm_year < -1900 || asRead.tm_mon < 0 || asRead.tm_mday < 0 || asRead.tm_hour < 0 || asRead.tm_min < 0 ||
        asRead.tm_sec < 0)
        return std::nullopt;
    const std::time_t seconds = timegm(&fields);
    // timegm normalises out-of-range fields (February 30th); a real date comes back unchanged.
    if (fields.tm_year != asRead.tm_year || fields.tm_mon != asRead.tm_mon || fields.tm_mday != asRead.tm_mday ||
        fields.tm_hour != asRead.tm_hour || fields.tm_min != asRead.tm_min || fields.tm_sec != asRead.tm_sec)
        return std::nullopt;
    int offset = 0;
    if (text.size() == 20) {
        if (text[19] != 'Z')
            return std::nullopt;
    } else {
        const int hours = digitsAt(text, 20, 2);
        const int minutes = digitsAt(text, 23, 2);
        if ((text[19] != '+' && text[19] != '-') || text[22] != ':' || hours < 0 || minutes < 0 || minutes > 59)
            return std::nullopt;
        offset = (hours * 3600 + minutes * 60) * (text[19] == '-' ? -1 : 1);
    }
    return fromUnixSeconds(static_cast<double>(seconds - offset));
}

} // namespace lorekeep

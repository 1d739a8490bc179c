#include "export/ExifDate.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace lorekeep {
namespace {

constexpr int maximumOffset = 18 * 3600;

std::time_t wholeSeconds(Date date) {
    return static_cast<std::time_t>(std::floor(date.unixSeconds()));
}

// Reads 1 to `maximum` digits at `at`, advancing it; -1 when there are none or too many.
int readNumber(std::string_view text, std::size_t& at, std::size_t maximum) {
    const std::size_t start = at;
    int value = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
        value = value * 10 + (text[at] - '0');
        ++at;
        if (at - start > maximum)
            return -1;
    }
    return at == start ? -1 : value;
}

bool expect(std::string_view text, std::size_t& at, char separator) {
    if (at >= text.size() || text[at] != separator)
        return false;
    ++at;
    return true;
}

} // namespace

int ExifZone::secondsFromGMT(Date at) const {
    if (fixedOffset)
        return *fixedOffset;
    const std::time_t seconds = wholeSeconds(at);
    std::tm local{};
    localtime_r(&seconds, &local);
    return static_cast<int>(local.tm_gmtoff);
}

namespace ExifDate {

std::string format(Date date, const ExifZone& zone) {
    std::tm fields{};
    if (zone.fixedOffset) {
        const std::time_t shifted = wholeSeconds(date) + *zone.fixedOffset;
        gmtime_r(&shifted, &fields);
    } else {
        const std::time_t seconds = wholeSeconds(date);
        localtime_r(&seconds, &fields);
    }
    char text[64];
    std::snprintf(text, sizeof text, "%04d:%02d:%02d %02d:%02d:%02d", fields.tm_year + 1900, fields.tm_mon + 1,
                  fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
    return text;
}

std::optional<Date> parse(std::string_view text, const ExifZone& zone) {
    // year:month:day hour:minute:second
    constexpr char separators[] = {':', ':', ' ', ':', ':'};
    constexpr std::size_t widths[] = {4, 2, 2, 2, 2, 2};
    int numbers[6];
    std::size_t at = 0;
    for (std::size_t i = 0; i < 6; ++i) {
        if (i > 0 && !expect(text, at, separators[i - 1]))
            return std::nullopt;
        numbers[i] = readNumber(text, at, widths[i]);
        if (numbers[i] < 0)
            return std::nullopt;
    }
    if (at != text.size())
        return std::nullopt;
    std::tm fields{};
    fields.tm_year = numbers[0] - 1900;
    fields.tm_mon = numbers[1] - 1;
    fields.tm_mday = numbers[2];
    fields.tm_hour = numbers[3];
    fields.tm_min = numbers[4];
    fields.tm_sec = numbers[5];
    if (fields.tm_mon < 0 || fields.tm_mon > 11 || fields.tm_mday < 1 || fields.tm_hour > 23 || fields.tm_min > 59 ||
        fields.tm_sec > 59)
        return std::nullopt;

    // timegm normalises a day past the month's end; a real date comes back unchanged.
    std::tm check = fields;
    const std::time_t asUtc = timegm(&check);
    if (check.tm_mday != fields.tm_mday || check.tm_mon != fields.tm_mon)
        return std::nullopt;
    if (zone.fixedOffset)
        return Date::fromUnixSeconds(static_cast<double>(asUtc - *zone.fixedOffset));
    fields.tm_isdst = -1;
    return Date::fromUnixSeconds(static_cast<double>(std::mktime(&fields)));
}

std::string offsetText(const ExifZone& zone, Date date) {
    const int seconds = zone.secondsFromGMT(date);
    const int magnitude = std::abs(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%s%02d:%02d", seconds >= 0 ? "+" : "-", magnitude / 3600,
                  (magnitude % 3600) / 60);
    return text;
}

std::optional<int> parseOffset(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || text.find(':', colon + 1) != std::string_view::npos)
        return std::nullopt;
    if (text.empty() || (text[0] != '+' && text[0] != '-'))
        return std::nullopt;
    std::size_t at = 1;
    const int hours = readNumber(text, at, 2);
    if (hours < 0 || at != colon)
        return std::nullopt;
    ++at;
    const int minutes = readNumber(text, at, 2);
    if (minutes < 0 || at != text.size())
        return std::nullopt;
    const int seconds = hours * 3600 + minutes * 60;
    if (seconds > maximumOffset)
        return std::nullopt;
    return text[0] == '-' ? -seconds : seconds;
}

ExifZone zoneFor(const PropertyDictionary& exif) {
    if (const std::string* offset = propertyText(exif, ImageProperty::offsetTimeOriginal)) {
        if (const auto seconds = parseOffset(*offset))
            return {.fixedOffset = *seconds};
    }
    return {};
}

bool dateNeedsWriting(const PropertyDictionary& exif, Date assetDate) {
    if (exif.empty())
        return true;
    const std::string* text = propertyText(exif, ImageProperty::dateTimeOriginal);
    if (!text)
        return true;
    const std::optional<Date> fileDate = parse(*text, zoneFor(exif));
    if (!fileDate)
        return true;
    const double difference = std::abs(fileDate->referenceSeconds() - assetDate.referenceSeconds());
    if (difference <= 1.0)
        return false;
    // One-sided on purpose: a difference just under a whole number of quarter hours is a real difference.
    return exif.contains(ImageProperty::offsetTimeOriginal) || difference > zoneShiftLimit ||
           std::fmod(difference, zoneStep) >= 1.0;
}

} // namespace ExifDate
} // namespace lorekeep

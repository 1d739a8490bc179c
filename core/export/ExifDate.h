#pragma once

#include "base/Date.h"
#include "export/ImageProperties.h"

#include <optional>
#include <string>
#include <string_view>

namespace lorekeep {

/// The zone an EXIF date is read and written in: a fixed offset recorded in the file, or the system's zone.
struct ExifZone {
    /// Seconds east of GMT; none means the system's current zone.
    std::optional<int> fixedOffset;

    /// Seconds east of GMT at that moment.
    int secondsFromGMT(Date at) const;

    friend bool operator==(const ExifZone&, const ExifZone&) = default;
};

/// EXIF date texts ("yyyy:MM:dd HH:mm:ss", offsets "+hh:mm") and the rule that decides whether a file's capture
/// date is replaced by the library's.
namespace ExifDate {

/// Differences up to this many seconds are read as "another zone", not another moment (without a recorded offset).
inline constexpr double zoneShiftLimit = 50'400;
/// Zones differ in whole quarter hours.
inline constexpr double zoneStep = 900;

/// The date in the zone, seconds cut off.
std::string format(Date date, const ExifZone& zone);
/// The moment a date text names in the zone; nothing for text that is not a valid EXIF date.
std::optional<Date> parse(std::string_view text, const ExifZone& zone);
/// The zone's offset at that date: sign, hours and minutes, as "+02:00" or "-05:30".
std::string offsetText(const ExifZone& zone, Date date);
/// Seconds east of GMT of an offset text with a sign, hours and minutes separated by one ":"; nothing otherwise.
std::optional<int> parseOffset(std::string_view text);
/// The file's recorded OffsetTimeOriginal when it is readable text, else the system's zone.
ExifZone zoneFor(const PropertyDictionary& exif);

/// Whether the library's capture date should replace what the file's EXIF properties say. No when the file
/// agrees to the second, and also when it differs by a whole number of quarter hours up to 14 hours without a
/// recorded offset: that is the same moment written in another zone.
bool dateNeedsWriting(const PropertyDictionary& exif, Date assetDate);

} // namespace ExifDate
} // namespace lorekeep

#include "export/ExifDate.h"
#include "export/GPS.h"
#include "export/HolidayPhoto.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using test::berlin;

// 2024-05-05 12:00:00 on the file's clock: in Berlin (summer time) and at -07:00.
const Date noonInBerlin = Date::fromUnixSeconds(1714903200);
const Date noonAtMinusSeven = Date::fromUnixSeconds(1714935600);

struct DateCase {
    const char* name;
    PropertyDictionary exif;
    Date assetDate;
    bool needsWriting;
};

PropertyDictionary exifDate(const char* text) {
    return {{"DateTimeOriginal", std::string(text)}};
}

PropertyDictionary exifDate(const char* text, const char* offset) {
    return {{"DateTimeOriginal", std::string(text)}, {"OffsetTimeOriginal", std::string(offset)}};
}

TEST(ExifDate, dateNeedsWritingOnlyWhenTheFileNamesAnotherMoment) {
    const test::ScopedTimeZone zone(berlin);
    const char* noon = "2024:05:05 12:00:00";
    const DateCase cases[] = {
        {"no EXIF at all", {}, noonInBerlin, true},
        {"no DateTimeOriginal", {{"OffsetTimeOriginal", std::string("+02:00")}}, noonInBerlin, true},
        {"DateTimeOriginal not text", {{"DateTimeOriginal", 1714903200.0}}, noonInBerlin, true},
        {"unreadable date", exifDate("0000:00:00 00:00:00"), noonInBerlin, true},
        {"February 30th", exifDate("2024:02:30 12:00:00"), noonInBerlin, true},
        {"trailing text", exifDate("2024:05:05 12:00:00 "), noonInBerlin, true},
        {"same moment", exifDate(noon), noonInBerlin, false},
        {"library has a fraction of a second more", exifDate(noon), noonInBerlin.addingSeconds(0.9), false},
        {"exactly one second off", exifDate(noon), noonInBerlin.addingSeconds(-1), false},
        {"3 h off without offset: another zone", exifDate(noon), noonInBerlin.addingSeconds(3 * 3600), false},
        {"3 h earlier without offset", exifDate(noon), noonInBerlin.addingSeconds(-3 * 3600), false},
        {"3 h 10 min off without offset", exifDate(noon), noonInBerlin.addingSeconds(3 * 3600 + 600), true},
        {"exactly 14 h off without offset", exifDate(noon), noonInBerlin.addingSeconds(14 * 3600), false},
        {"14 h 15 min off without offset", exifDate(noon), noonInBerlin.addingSeconds(14 * 3600 + 900), true},
        {"just under 3 h off", exifDate(noon), noonInBerlin.addingSeconds(3 * 3600 - 0.5), true},
        {"just over 3 h off", exifDate(noon), noonInBerlin.addingSeconds(3 * 3600 + 0.5), false},
        {"read in the recorded zone", exifDate(noon, "-07:00"), noonAtMinusSeven, false},
        {"1 h off with an offset", exifDate(noon, "-07:00"), noonAtMinusSeven.addingSeconds(3600), true},
        {"unreadable offset: system zone, but an offset is recorded", exifDate(noon, "+0200"),
         noonInBerlin.addingSeconds(3600), true},
        {"unreadable offset falls back to the system zone", exifDate(noon, "GMT"), noonInBerlin, false},
    };
    for (const DateCase& row : cases)
        EXPECT_EQ(ExifDate::dateNeedsWriting(row.exif, row.assetDate), row.needsWriting) << row.name;
}

TEST(ExifDate, formatsInTheChosenZoneWithItsOffset) {
    const test::ScopedTimeZone zone(berlin);
    const ExifZone system;
    const Date winter = Date::fromUnixSeconds(1704067200.75); // 2024-01-01 00:00:00.75 UTC
    EXPECT_EQ(ExifDate::format(winter, system), "2024:01:01 01:00:00");
    EXPECT_EQ(ExifDate::offsetText(system, winter), "+01:00");
    EXPECT_EQ(ExifDate::offsetText(system, noonInBerlin), "+02:00");

    const ExifZone india{.fixedOffset = 19800};
    EXPECT_EQ(ExifDate::format(winter, india), "2024:01:01 05:30:00");
    EXPECT_EQ(ExifDate::offsetText(india, winter), "+05:30");
    EXPECT_EQ(ExifDate::offsetText({.fixedOffset = -1800}, winter), "-00:30");
    EXPECT_EQ(ExifDate::offsetText({.fixedOffset = 0}, winter), "+00:00");
    EXPECT_EQ(ExifDate::parse("2024:01:01 05:30:00", india), Date::fromUnixSeconds(1704067200));

    EXPECT_EQ(ExifDate::parseOffset("-05:30"), -19800);
    EXPECT_EQ(ExifDate::parseOffset("-00:30"), -1800);
    EXPECT_EQ(ExifDate::parseOffset("+2:30"), 9000);
    for (const char* bad : {"02:00", "+02", "+02:00:00", "+:00", "+02:", "Z", "", "+19:00"})
        EXPECT_FALSE(ExifDate::parseOffset(bad)) << bad;
}

TEST(GPS, gpsNeedsWritingOnlyWhenTheFileIsElsewhere) {
    const auto position = [](PropertyValue latitude, const char* latitudeRef, PropertyValue longitude,
                             const char* longitudeRef) {
        return PropertyDictionary{{"Latitude", std::move(latitude)},
                                  {"LatitudeRef", std::string(latitudeRef)},
                                  {"Longitude", std::move(longitude)},
                                  {"LongitudeRef", std::string(longitudeRef)}};
    };
    struct {
        const char* name;
        PropertyDictionary gps;
        bool needsWriting;
    } cases[] = {
        {"no GPS", {}, true},
        {"latitude only", {{"Latitude", 33.8568}, {"LatitudeRef", std::string("S")}}, true},
        {"latitude as text", position(std::string("33.8568"), "S", 151.2153, "E"), true},
        {"same place", position(33.8568, "S", 151.2153, "E"), false},
        {"within 0.0001 degrees", position(33.85689, "S", 151.21539, "E"), false},
        {"latitude beyond 0.0001 degrees", position(33.85691, "S", 151.2153, "E"), true},
        {"longitude beyond 0.0001 degrees", position(33.8568, "S", 151.21519, "E"), true},
        {"other hemisphere", position(33.8568, "N", 151.2153, "E"), true},
        {"other side of Greenwich", position(33.8568, "S", 151.2153, "W"), true},
    };
    for (const auto& row : cases)
        EXPECT_EQ(GPS::gpsNeedsWriting(row.gps, -33.8568, 151.2153), row.needsWriting) << row.name;
}

} // namespace
} // namespace lorekeep

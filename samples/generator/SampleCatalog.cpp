#include "SampleCatalog.h"

#include <cstdio>
#include <cstdlib>

namespace lorekeep::sample {
namespace {

/// Days from 1970-01-01 to a date of the proleptic Gregorian calendar.
long long daysFromCivil(int year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    const long long era = (year >= 0 ? year : year - 399) / 400;
    const long long yearOfEra = year - era * 400;
    const long long dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const long long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

/// Seconds since 1970-01-01 UTC.
long long unixSeconds(const LocalTime& time) {
    return daysFromCivil(time.year, time.month, time.day) * 86400LL + time.hour * 3600LL + time.minute * 60LL +
           time.second - time.utcOffsetMinutes * 60LL;
}

constexpr long long unixToReference = 978307200LL;
constexpr long long quickTimeToUnix = 2082844800LL;

LocalTime at(int year, int month, int day, int hour, int minute, int second, int offsetMinutes, const char* zone) {
    return {year, month, day, hour, minute, second, offsetMinutes, zone};
}

} // namespace

double LocalTime::referenceSeconds() const {
    return static_cast<double>(unixSeconds(*this) - unixToReference);
}

std::uint32_t LocalTime::quickTimeSeconds() const {
    return static_cast<std::uint32_t>(unixSeconds(*this) + quickTimeToUnix);
}

std::string LocalTime::exifText() const {
    char text[32];
    std::snprintf(text, sizeof text, "%04d:%02d:%02d %02d:%02d:%02d", year, month, day, hour, minute, second);
    return text;
}

std::string LocalTime::offsetText() const {
    char text[16];
    const int offset = std::abs(utcOffsetMinutes);
    std::snprintf(text, sizeof text, "%c%02d:%02d", utcOffsetMinutes < 0 ? '-' : '+', offset / 60, offset % 60);
    return text;
}

std::string LocalTime::quickTimeText() const {
    char text[40];
    const int offset = std::abs(utcOffsetMinutes);
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d%c%02d%02d", year, month, day, hour, minute, second,
                  utcOffsetMinutes < 0 ? '-' : '+', offset / 60, offset % 60);
    return text;
}

SampleCatalog SampleCatalog::standard() {
    SampleCatalog catalog;
    catalog.storeUuid = "6E6753ED-63AE-4513-AF38-4E265AA813E1";
    catalog.rootFolderUuid = "E83AAB53-E1AE-4DF8-8798-6FE8F584DB35";
    catalog.projectsFolderUuid = "9488F838-FBA2-4A04-BD6F-4B3E9A71AB4B";
    catalog.imported = at(2025, 1, 6, 20, 15, 0, 60, "Europe/Zurich");

    const int paris = 120;
    const int london = 60;
    catalog.assets = {
        {"4CC657C8-2B37-4F22-85F5-00374AE03726",
         "IMG_0101.JPG",
         "HARBOUR",
         SampleKind::photo,
         at(2024, 5, 18, 7, 42, 10, paris, "Europe/Paris"),
         {{38, 70, 140}, {250, 170, 110}, {255, 236, 160}, {30, 90, 130}, {10, 40, 70}, 0.25, 0.55}},
        {"686DEBCC-DEBF-420A-BEC2-042A6590C71F",
         "IMG_0102.JPG",
         "LIGHTHOUSE",
         SampleKind::photo,
         at(2024, 5, 18, 19, 5, 33, paris, "Europe/Paris"),
         {{60, 40, 120}, {240, 120, 90}, {255, 210, 120}, {70, 60, 50}, {30, 25, 20}, 0.75, 0.45},
         true,
         Place{48.329861, -4.771889, 28.5}},
        {"E9F4D5DD-6C96-4925-B300-02E918468E94",
         "IMG_0103.JPG",
         "DUNES",
         SampleKind::livePhoto,
         at(2024, 5, 19, 11, 20, 5, paris, "Europe/Paris"),
         {{70, 150, 230}, {190, 225, 250}, {255, 255, 220}, {230, 200, 140}, {180, 140, 80}, 0.6, 0.2}},
        {"8B40C759-B2CE-4375-97A2-9D480926AAFA",
         "IMG_0104.JPG",
         "CLIFFS",
         SampleKind::rawAndJpeg,
         at(2024, 5, 19, 15, 2, 48, paris, "Europe/Paris"),
         {{90, 140, 200}, {200, 220, 235}, {255, 250, 230}, {120, 130, 110}, {60, 70, 60}, 0.3, 0.25}},
        {"B9443331-C499-4454-BE04-86DADACF27CA",
         "IMG_0105.JPG",
         "MEADOW",
         SampleKind::photo,
         at(2024, 8, 3, 10, 15, 0, london, "Europe/London"),
         {{100, 170, 240}, {210, 235, 250}, {255, 250, 200}, {110, 180, 60}, {40, 110, 30}, 0.8, 0.2}},
        {"C17F274D-0777-4855-A27F-713F229361E6",
         "IMG_0106.JPG",
         "VILLAGE",
         SampleKind::editedPhoto,
         at(2024, 8, 3, 16, 40, 12, london, "Europe/London"),
         {{120, 160, 210}, {245, 225, 190}, {255, 240, 190}, {200, 170, 110}, {120, 90, 60}, 0.5, 0.3}},
        {"E714BA71-1FD3-4D4B-A997-8AFB9E31E39F",
         "IMG_0107.MOV",
         "RIVER",
         SampleKind::video,
         at(2024, 8, 4, 9, 30, 0, london, "Europe/London"),
         {{80, 150, 210}, {200, 230, 240}, {255, 255, 210}, {40, 120, 150}, {20, 60, 90}, 0.15, 0.3}},
        {"D216DA7E-A954-46BD-846D-DE9E3DF96695",
         "IMG_0108.JPG",
         "SNOW",
         SampleKind::photo,
         at(2024, 12, 24, 14, 0, 0, 60, "Europe/Zurich"),
         {{120, 150, 190}, {220, 230, 240}, {255, 255, 240}, {250, 250, 255}, {190, 200, 220}, 0.65, 0.35}},
    };
    catalog.assets[2].mediaGroupUuid = "67A40E94-B5F5-4147-88CB-9DAF72174045";

    const auto& a = catalog.assets;
    catalog.albums = {{"D5D4B980-6F71-44AA-A934-3AB845842800", "Best of 2024", {a[1].uuid, a[5].uuid, a[6].uuid}}};
    catalog.folders = {
        {"1227FEB3-8C5A-49F8-BE34-F28DE86B2518",
         "Trips",
         {{"040BDE5F-D2E2-481C-AF14-0424B910536A", "Brittany", {a[0].uuid, a[1].uuid, a[2].uuid, a[3].uuid}},
          {"2E7D04F6-11A1-410A-912D-32FE80CFA725", "Cotswolds", {a[4].uuid, a[5].uuid, a[6].uuid}}}}};
    return catalog;
}

} // namespace lorekeep::sample

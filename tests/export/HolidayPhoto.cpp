#include "export/HolidayPhoto.h"

#include "support/ExifTool.h"

#include <gtest/gtest.h>

#include <regex>

namespace lorekeep::test {

AssetMeta holidayPhoto() {
    return {
        .localIdentifier = "9F4C2B1A-0D3E-4E5F-8A6B-7C8D9E0F1A2B/L0/001",
        .originalFilename = "IMG_0001.JPG",
        .creationDate = Date::fromUnixSeconds(1714910607),
        .latitude = -33.856789,
        .longitude = -70.654321,
        .altitude = -12.5,
        .favorite = true,
        .mediaType = "image",
        .albums = {"Holidays 2023", "Family/Kids"},
    };
}

void expectHolidayPhotoMetadata(const std::filesystem::path& file) {
    using ExifTool::list;
    using ExifTool::number;
    using ExifTool::text;
    const nlohmann::json tags = ExifTool::tags(file);
    EXPECT_EQ(text(tags, "XMP-lorekeep:AssetID"), holidayPhoto().localIdentifier);
    EXPECT_EQ(number(tags, "XMP-xmp:Rating"), 5);
    EXPECT_EQ(list(tags, "XMP-dc:Subject"), (std::vector<std::string>{"Holidays 2023", "Family/Kids"}));
    EXPECT_EQ(list(tags, "XMP-lr:HierarchicalSubject"),
              (std::vector<std::string>{"Albums|Holidays 2023", "Albums|Family/Kids"}));
    EXPECT_EQ(text(tags, "ExifIFD:DateTimeOriginal"), "2024:05:05 14:03:27");
    EXPECT_EQ(text(tags, "ExifIFD:OffsetTimeOriginal"), "+02:00");
    EXPECT_EQ(text(tags, "XMP-exif:DateTimeOriginal"), "2024:05:05 14:03:27+02:00");
    EXPECT_NEAR(number(tags, "GPS:GPSLatitude"), 33.856789, 1e-7);
    EXPECT_EQ(text(tags, "GPS:GPSLatitudeRef"), "S");
    EXPECT_NEAR(number(tags, "GPS:GPSLongitude"), 70.654321, 1e-7);
    EXPECT_EQ(text(tags, "GPS:GPSLongitudeRef"), "W");
    EXPECT_NEAR(number(tags, "GPS:GPSAltitude"), 12.5, 1e-9);
    EXPECT_EQ(number(tags, "GPS:GPSAltitudeRef"), 1);
    EXPECT_NEAR(number(tags, "XMP-exif:GPSLatitude"), -33.856789, 1e-7);
    EXPECT_NEAR(number(tags, "XMP-exif:GPSLongitude"), -70.654321, 1e-7);

    const std::string packet = ExifTool::xmpPacket(file);
    EXPECT_TRUE(std::regex_search(packet, std::regex(R"(<dc:subject>\s*<rdf:Bag>)"))) << packet;
    EXPECT_TRUE(std::regex_search(packet, std::regex(R"(<lr:hierarchicalSubject>\s*<rdf:Bag>)"))) << packet;
}

} // namespace lorekeep::test

#include "export/XmpPacket.h"
#include "export/MetadataBackend.h"

#include <gtest/gtest.h>

#include <exiv2/exiv2.hpp>

namespace lorekeep {
namespace {

// The document as Exiv2's XMP toolkit reads it: "key=value" lines, arrays item by item.
std::vector<std::string> decoded(const std::string& packet) {
    (void)MetadataBackend::platform()->registerNamespaces();
    Exiv2::XmpData data;
    EXPECT_EQ(Exiv2::XmpParser::decode(data, packet), 0) << packet;
    std::vector<std::string> lines;
    for (const Exiv2::Xmpdatum& datum : data) {
        const bool array = datum.typeId() == Exiv2::xmpBag || datum.typeId() == Exiv2::xmpSeq;
        for (long i = 0; i < (array ? datum.count() : 1); ++i)
            lines.push_back(datum.key() + "=" + (array ? datum.toString(i) : datum.toString()));
    }
    return lines;
}

TEST(XmpPacket, readsBackAsEveryValueWrittenWhateverItsCharacters) {
    const XmpMetadata metadata{
        .assetID = "A&B/L0/001",
        .rating = 5,
        .subjects = {"Tom & Jerry <3", "\"quoted\" 'single'", "Ünïcödé 日本 📷", "tab\there\nnewline"},
        .hierarchicalSubjects = {"Albums|Tom & Jerry <3"},
        .date = XmpMetadata::CaptureDate{"2024:05:05 14:03:27", "+02:00"},
        .gps = XmpMetadata::Position{.latitude = 33.856789,
                                     .latitudeRef = "S",
                                     .longitude = 70.654321,
                                     .longitudeRef = "W",
                                     .altitude = 12.5,
                                     .altitudeRef = 1},
    };
    for (const bool wrapped : {true, false}) {
        const auto packet = XmpPacket::serialize(metadata, wrapped);
        ASSERT_TRUE(packet.has_value());
        EXPECT_EQ(packet->starts_with("<?xpacket"), wrapped);
        EXPECT_EQ(decoded(*packet), (std::vector<std::string>{
                                        "Xmp.lorekeep.AssetID=A&B/L0/001",
                                        "Xmp.xmp.Rating=5",
                                        "Xmp.exif.DateTimeOriginal=2024-05-05T14:03:27+02:00",
                                        "Xmp.exif.GPSVersionID=2.2.0.0",
                                        "Xmp.exif.GPSLatitude=33,51.40734000S",
                                        "Xmp.exif.GPSLongitude=70,39.25926000W",
                                        "Xmp.exif.GPSAltitude=12500/1000",
                                        "Xmp.exif.GPSAltitudeRef=1",
                                        "Xmp.dc.subject=Tom & Jerry <3",
                                        "Xmp.dc.subject=\"quoted\" 'single'",
                                        "Xmp.dc.subject=Ünïcödé 日本 📷",
                                        "Xmp.dc.subject=tab\there\nnewline",
                                        "Xmp.lr.hierarchicalSubject=Albums|Tom & Jerry <3",
                                    }));
    }
    // A bare asset: its identifier only.
    EXPECT_EQ(decoded(*XmpPacket::serialize({.assetID = "B/L0/001"}, true)),
              std::vector<std::string>{"Xmp.lorekeep.AssetID=B/L0/001"});
}

TEST(XmpPacket, leavesWhatXmlCannotCarryToTheToolkit) {
    EXPECT_FALSE(XmpPacket::serialize({.assetID = "A", .subjects = {"bell\x07"}}, true));
    EXPECT_FALSE(XmpPacket::serialize({.assetID = "A", .subjects = {"cut \xC3"}}, true));
    EXPECT_FALSE(XmpPacket::serialize({.assetID = "A\xFF"}, false));
    EXPECT_FALSE(XmpPacket::serialize({.assetID = "A", .hierarchicalSubjects = {"\xED\xA0\x80"}}, false));
    // The backend writes those anyway.
    EXPECT_TRUE(MetadataBackend::platform()->serialize({.assetID = "A", .subjects = {"bell\x07"}}).has_value());
}

} // namespace
} // namespace lorekeep

#include "export/ImageIOMetadata.h"

#include <gtest/gtest.h>

namespace lorekeep::imageio {
namespace {

MetadataStep xmp(std::string xmlns, std::string prefix, std::string name, MetadataStep::Value value) {
    return {std::move(xmlns), std::move(prefix), std::move(name), {}, std::move(value)};
}

MetadataStep image(ImageKey key, MetadataStep::Value value) {
    return {{}, {}, {}, key, std::move(value)};
}

TEST(ImageIOMetadata, onlyTheIdentifierForAnAssetWithNothingElse) {
    EXPECT_EQ(metadataSteps({.assetID = "A/L0/001"}),
              (std::vector<MetadataStep>{xmp(std::string(XMPNamespace::lorekeep), "lorekeep", "AssetID", "A/L0/001")}));
}

TEST(ImageIOMetadata, everyFieldInItsPlaceAndForm) {
    XmpMetadata metadata{.assetID = "A",
                         .rating = 5,
                         .subjects = {"Holidays"},
                         .hierarchicalSubjects = {"Albums|Holidays"},
                         .date = XmpMetadata::CaptureDate{"2024:05:05 12:03:27", "-05:30"},
                         .gps = XmpMetadata::Position{33.9, "S", 151.2, "E", 12.5, 1}};
    const auto steps = metadataSteps(metadata);
    const std::vector<MetadataStep> expected{
        xmp(std::string(XMPNamespace::lorekeep), "lorekeep", "AssetID", "A"),
        xmp(xmpBasicNamespace, "xmp", "Rating", 5LL),
        xmp(dublinCoreNamespace, "dc", "subject", Bag{{"Holidays"}}),
        xmp(std::string(XMPNamespace::lightroom), "lr", "hierarchicalSubject", Bag{{"Albums|Holidays"}}),
        image(ImageKey::exifDateTimeOriginal, "2024:05:05 12:03:27"),
        image(ImageKey::exifOffsetTimeOriginal, "-05:30"),
        xmp(exifNamespace, "exif", "DateTimeOriginal", "2024-05-05T12:03:27-05:30"),
        image(ImageKey::gpsLatitude, 33.9),
        image(ImageKey::gpsLatitudeRef, "S"),
        image(ImageKey::gpsLongitude, 151.2),
        image(ImageKey::gpsLongitudeRef, "E"),
        image(ImageKey::gpsAltitude, 12.5),
        image(ImageKey::gpsAltitudeRef, 1LL),
    };
    EXPECT_EQ(steps, expected);
    EXPECT_EQ(steps[3].path(), "lr:hierarchicalSubject");

    metadata.gps->altitude.reset();
    EXPECT_EQ(metadataSteps(metadata).size(), expected.size() - 2) << "no altitude without one";
}

TEST(ImageIOMetadata, xmpDateKeepsTheTimeAndAddsTheOffset) {
    EXPECT_EQ(xmpDateTime({"1999:12:31 23:59:59", "+00:00"}), "1999-12-31T23:59:59+00:00");
}

} // namespace
} // namespace lorekeep::imageio

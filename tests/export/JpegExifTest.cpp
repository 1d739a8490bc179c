#include "export/JpegExif.h"
#include "export/MetadataBackend.h"
#include "support/ExifTool.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"

#include "generator/CameraFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using test::ExifTool::number;
using test::ExifTool::text;

const XmpMetadata metadata{
    .assetID = "J/L0/001",
    .rating = 4,
    .subjects = {"Holidays"},
    .date = XmpMetadata::CaptureDate{"2023:07:14 18:30:05", "-03:00"},
    .gps = XmpMetadata::Position{.latitude = 22.9068467,
                                 .latitudeRef = "S",
                                 .longitude = 43.1728965,
                                 .longitudeRef = "W",
                                 .altitude = 11.25,
                                 .altitudeRef = 0},
};

std::string cameraJpeg(bool withPlace) {
    sample::SampleAsset asset;
    asset.taken = {.year = 2024, .month = 5, .day = 5, .hour = 12, .minute = 3, .second = 27, .utcOffsetMinutes = 120};
    if (withPlace)
        asset.place = sample::Place{.latitude = 48.8584, .longitude = 2.2945, .altitude = 35};
    sample::Picture picture(64, 48);
    picture.verticalGradient(0, 48, {20, 60, 200}, {200, 220, 255});
    return sample::CameraFiles::jpeg(picture, asset);
}

// The tags exiftool finds outside XMP and the file's own description, which a copy must keep as they were but for
// the ones it sets.
nlohmann::json keptTags(nlohmann::json tags) {
    for (const char* changed :
         {"ExifIFD:DateTimeOriginal", "ExifIFD:OffsetTimeOriginal", "GPS:GPSVersionID", "GPS:GPSLatitude",
          "GPS:GPSLatitudeRef", "GPS:GPSLongitude", "GPS:GPSLongitudeRef", "GPS:GPSAltitude", "GPS:GPSAltitudeRef",
          "System:FileSize", "System:FileName", "System:Directory", "System:FileModifyDate", "System:FileAccessDate",
          "System:FileInodeChangeDate", "System:FilePermissions", "SourceFile", "ExifTool:Warning",
          "ExifTool:Validate"})
        tags.erase(changed);
    // XMP is new, and exiftool's composite tags are made from the values that changed.
    for (auto it = tags.begin(); it != tags.end();)
        it = it.key().starts_with("XMP") || it.key().starts_with("Composite:") ? tags.erase(it) : std::next(it);
    return tags;
}

// Checks a copy made by the in-place path against exiftool's reading of the original and of the copy.
void expectCopy(const std::string& original, const std::string& name) {
    SCOPED_TRACE(name);
    const auto jpeg = JpegExif::parse(original);
    ASSERT_TRUE(jpeg.has_value());
    test::TempDir folder;
    test::writeFile(folder / "original.jpg", original);
    const nlohmann::json before = test::ExifTool::tags(folder / "original.jpg");

    // The properties are the file's own, as another reader sees them.
    const PropertyDictionary& exif = jpeg->properties().exif;
    EXPECT_EQ(exif.contains("DateTimeOriginal"), before.contains("ExifIFD:DateTimeOriginal"));
    if (const std::string* date = propertyText(exif, "DateTimeOriginal")) {
        EXPECT_EQ(*date, text(before, "ExifIFD:DateTimeOriginal"));
    }
    if (const double* latitude = propertyNumber(jpeg->properties().gps, "Latitude")) {
        EXPECT_NEAR(*latitude, number(before, "GPS:GPSLatitude"), 1e-9);
    }

    const auto backend = MetadataBackend::platform();
    const auto packet = std::string("<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/"
                                    "02/22-rdf-syntax-ns#\"><rdf:Description rdf:about=\"\" "
                                    "xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmp:Rating=\"4\"/></rdf:RDF>"
                                    "</x:xmpmeta>");
    std::vector<char> copy;
    ASSERT_TRUE(jpeg->withMetadata(metadata, packet, copy));
    const std::string copied(copy.begin(), copy.end());
    test::writeFile(folder / "copy.jpg", copied);
    const nlohmann::json after = test::ExifTool::tags(folder / "copy.jpg");

    EXPECT_EQ(test::SampleImages::jpegScanData(copied), test::SampleImages::jpegScanData(original));
    EXPECT_EQ(keptTags(after), keptTags(before));
    EXPECT_EQ(text(after, "ExifIFD:DateTimeOriginal"), "2023:07:14 18:30:05");
    EXPECT_EQ(text(after, "ExifIFD:OffsetTimeOriginal"), "-03:00");
    EXPECT_NEAR(number(after, "GPS:GPSLatitude"), 22.9068467, 1e-6);
    EXPECT_EQ(text(after, "GPS:GPSLatitudeRef"), "S");
    EXPECT_NEAR(number(after, "GPS:GPSLongitude"), 43.1728965, 1e-6);
    EXPECT_EQ(text(after, "GPS:GPSLongitudeRef"), "W");
    EXPECT_NEAR(number(after, "GPS:GPSAltitude"), 11.25, 1e-9);
    EXPECT_EQ(number(after, "GPS:GPSAltitudeRef"), 0);
    EXPECT_EQ(number(after, "XMP-xmp:Rating"), 4);
    EXPECT_FALSE(after.contains("ExifTool:Warning")) << after.value("ExifTool:Warning", "");

    // What the backend makes of the same file reads back the same, whichever way it took.
    const auto source = backend->openImage(std::span(original.data(), original.size()));
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->properties(), jpeg->properties());
    const std::span<const char> made = source->withMetadata(metadata);
    test::writeFile(folder / "backend.jpg", std::string(made.data(), made.size()));
    const nlohmann::json backendTags = test::ExifTool::tags(folder / "backend.jpg");
    EXPECT_EQ(keptTags(backendTags), keptTags(before));
    EXPECT_EQ(text(backendTags, "XMP-lorekeep:AssetID"), "J/L0/001");
    EXPECT_EQ(text(backendTags, "ExifIFD:DateTimeOriginal"), "2023:07:14 18:30:05");
}

TEST(JpegExif, setsDateAndPlaceInPlaceAndAddsAPlaceWhereTheFileHasNone) {
    expectCopy(cameraJpeg(true), "camera JPEG with a position");
    expectCopy(cameraJpeg(false), "camera JPEG without one");
}

TEST(JpegExif, copiesRealPhotosOfBothByteOrders) {
    const fs::path library = test::SampleImages::libraryOriginal("jpeg");
    if (library.empty())
        GTEST_SKIP() << "the real photo libraries are not there";
    int copied = 0;
    // From the file up: its folder, "originals", the package, the folder of the libraries.
    const fs::path libraries = library.parent_path().parent_path().parent_path().parent_path();
    for (const auto& entry : fs::recursive_directory_iterator(libraries)) {
        if (entry.path().extension() != ".jpeg" && entry.path().extension() != ".JPG")
            continue;
        const std::string bytes = test::readFile(entry.path());
        const auto jpeg = JpegExif::parse(bytes);
        std::vector<char> copy;
        if (!jpeg || !jpeg->withMetadata(metadata, "<x/>", copy))
            continue;
        expectCopy(bytes, entry.path().filename().string());
        ++copied;
    }
    EXPECT_GT(copied, 0);
}

TEST(JpegExif, readsTheDateAndPlaceOfRawFilesAsExiftoolAndExiv2Do) {
    const auto backend = MetadataBackend::platform();
    for (const bool withPlace : {true, false}) {
        SCOPED_TRACE(withPlace ? "with a place" : "without one");
        sample::SampleAsset asset;
        asset.taken = {.year = 2024, .month = 5, .day = 5, .hour = 12, .minute = 3, .second = 27};
        if (withPlace)
            asset.place = sample::Place{.latitude = -33.8568, .longitude = 151.2153, .altitude = 4};
        sample::Picture picture(32, 24);
        picture.verticalGradient(0, 24, {20, 60, 200}, {200, 220, 255});
        const std::string dng = sample::CameraFiles::dng(picture, asset);
        const std::optional<ImageProperties> properties = JpegExif::tiffProperties(dng);
        ASSERT_TRUE(properties.has_value());

        test::TempDir folder;
        test::writeFile(folder / "photo.dng", dng);
        const nlohmann::json tags = test::ExifTool::tags(folder / "photo.dng");
        ASSERT_NE(propertyText(properties->exif, "DateTimeOriginal"), nullptr);
        EXPECT_EQ(*propertyText(properties->exif, "DateTimeOriginal"), text(tags, "ExifIFD:DateTimeOriginal"));
        EXPECT_EQ(properties->gps.contains("Latitude"), withPlace);
        if (withPlace) {
            EXPECT_NEAR(*propertyNumber(properties->gps, "Latitude"), number(tags, "GPS:GPSLatitude"), 1e-9);
            EXPECT_EQ(*propertyText(properties->gps, "LatitudeRef"), "S");
            EXPECT_NEAR(*propertyNumber(properties->gps, "Longitude"), number(tags, "GPS:GPSLongitude"), 1e-9);
            EXPECT_EQ(*propertyText(properties->gps, "LongitudeRef"), "E");
        }

        // The backend's source gives the same, and leaves the rest to the general reader.
        const auto source = backend->openImage(std::span(dng.data(), dng.size()));
        ASSERT_NE(source, nullptr);
        EXPECT_EQ(source->properties(), *properties);
        EXPECT_FALSE(source->typeIdentifier().empty());
    }
    EXPECT_FALSE(JpegExif::tiffProperties("GIF89a"));
    EXPECT_FALSE(JpegExif::tiffProperties(std::string("II*\0\x08\0\0\0\x05\0", 10))) << "a directory past the end";
}

TEST(JpegExif, declinesWhatItCannotChangeInPlace) {
    // Not a JPEG, or cut short, or with a segment running past the end.
    const std::string camera = cameraJpeg(true);
    EXPECT_FALSE(JpegExif::parse("GIF89a"));
    EXPECT_FALSE(JpegExif::parse(camera.substr(0, 40)));
    std::string longSegment = camera;
    longSegment[4] = '\xFF';
    EXPECT_FALSE(JpegExif::parse(longSegment));
    // XMP already there is merged by the general writer.
    const std::string xmp = std::string("\xFF\xE1\x00\x23http://ns.adobe.com/xap/1.0/\0<x/>", 37);
    EXPECT_FALSE(JpegExif::parse(camera.substr(0, 2) + xmp + camera.substr(2)));

    // A JPEG without EXIF takes XMP, but a date would need a new EXIF block.
    const std::string bareJpeg = test::SampleImages::jpeg();
    const auto bare = JpegExif::parse(bareJpeg);
    ASSERT_TRUE(bare.has_value());
    std::vector<char> copy;
    EXPECT_TRUE(bare->withMetadata({.assetID = "A"}, "<x/>", copy));
    EXPECT_FALSE(bare->withMetadata(metadata, "<x/>", copy));
    // An offset of another length than the file's.
    XmpMetadata longer = metadata;
    longer.date->offsetTimeOriginal = "-03:00:00";
    EXPECT_FALSE(JpegExif::parse(camera)->withMetadata(longer, "<x/>", copy));
    // A packet too large for one segment.
    EXPECT_FALSE(JpegExif::parse(camera)->withMetadata({.assetID = "A"}, std::string(70000, ' '), copy));
}

} // namespace
} // namespace lorekeep

#include "export/MetadataWriter.h"
#include "export/HolidayPhoto.h"
#include "support/ExifTool.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <regex>

namespace lorekeep {
namespace {

using test::berlin;
using test::expectHolidayPhotoMetadata;
using test::holidayPhoto;
using test::readFile;
using test::writeFile;
using test::ExifTool::list;
using test::ExifTool::number;
using test::ExifTool::text;
namespace SampleImages = test::SampleImages;

TEST(MetadataWriter, buildsOnlyTheAssetIDForABareAsset) {
    const MetadataWriter writer;
    const auto built = writer.buildXMP({.localIdentifier = "A/L0/001", .mediaType = "image"}, {});
    EXPECT_EQ(built.fields, std::vector<std::string>{"assetID"});
    EXPECT_EQ(built.metadata, XmpMetadata{.assetID = "A/L0/001"}) << "no rating 0, no empty bags";
}

TEST(MetadataWriter, buildsEveryFieldAndLeavesOutWhatTheFileAlreadyHas) {
    const test::ScopedTimeZone zone(berlin);
    const MetadataWriter writer;
    const auto built = writer.buildXMP(holidayPhoto(), {});
    EXPECT_EQ(built.fields, (std::vector<std::string>{"assetID", "rating", "albums", "date", "gps"}));
    EXPECT_EQ(built.metadata.rating, 5);
    EXPECT_EQ(built.metadata.hierarchicalSubjects[0], "Albums|Holidays 2023");
    EXPECT_EQ(built.metadata.date, (XmpMetadata::CaptureDate{"2024:05:05 14:03:27", "+02:00"}));
    EXPECT_EQ(built.metadata.gps, (XmpMetadata::Position{.latitude = 33.856789,
                                                         .latitudeRef = "S",
                                                         .longitude = 70.654321,
                                                         .longitudeRef = "W",
                                                         .altitude = 12.5,
                                                         .altitudeRef = 1}));

    // A file whose clock ran in New York gets the date on its own clock.
    const auto newYork = writer.buildXMP(holidayPhoto(), {.exif = {{"OffsetTimeOriginal", std::string("-04:00")}}});
    EXPECT_EQ(newYork.metadata.date, (XmpMetadata::CaptureDate{"2024:05:05 08:03:27", "-04:00"}));

    const ImageProperties agreeing{
        .exif = {{"DateTimeOriginal", std::string("2024:05:05 14:03:27")}},
        .gps = {{"Latitude", 33.85679},
                {"LatitudeRef", std::string("S")},
                {"Longitude", 70.65432},
                {"LongitudeRef", std::string("W")}},
    };
    EXPECT_EQ(writer.buildXMP(holidayPhoto(), agreeing).fields,
              (std::vector<std::string>{"assetID", "rating", "albums"}));
}

TEST(MetadataWriter, embedsIntoJpegPngAndTiffWithoutTouchingTheImageData) {
    const test::ScopedTimeZone zone(berlin);
    const test::TempDir dir;
    const MetadataWriter writer;
    struct Kind {
        const char* name;
        std::string bytes;
        std::string (*imageData)(const std::filesystem::path&);
    } kinds[] = {
        {"photo.jpg", SampleImages::jpeg(),
         [](const auto& file) { return SampleImages::jpegScanData(readFile(file)); }},
        {"photo.png", SampleImages::png(), [](const auto& file) { return SampleImages::pngImageData(readFile(file)); }},
        {"photo.tif", SampleImages::tiff(), &SampleImages::tiffStripData},
    };
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        const std::filesystem::path file = dir / kind.name;
        writeFile(file, kind.bytes);
        const std::string before = kind.imageData(file);
        ASSERT_FALSE(before.empty());

        EXPECT_EQ(writer.embed(holidayPhoto(), file),
                  (std::vector<std::string>{"assetID", "rating", "albums", "date", "gps"}));
        EXPECT_EQ(kind.imageData(file), before);
        EXPECT_FALSE(std::filesystem::exists(dir / (std::string(kind.name) + ".meta")));
        expectHolidayPhotoMetadata(file);
    }
}

TEST(MetadataWriter, embedsIntoARealPhotoKeepingWhatItAgreesWith) {
    const std::filesystem::path original = SampleImages::libraryOriginal("jpeg");
    if (original.empty())
        GTEST_SKIP() << "the real photo libraries are not available";
    // The camera wrote 2016:10:09 14:44:18 without an offset; the library says the same moment in California.
    const test::ScopedTimeZone zone("PST8PDT,M3.2.0,M11.1.0");
    const test::TempDir dir;
    const std::filesystem::path file = dir / "IMG_0001.jpeg";
    std::filesystem::copy_file(original, file);
    const std::string scanBefore = SampleImages::jpegScanData(readFile(file));

    AssetMeta meta{.localIdentifier = "B/L0/001",
                   .creationDate = Date::fromUnixSeconds(1476049458),
                   .favorite = false,
                   .mediaType = "image"};
    EXPECT_EQ(MetadataWriter().embed(meta, file), std::vector<std::string>{"assetID"});
    EXPECT_EQ(SampleImages::jpegScanData(readFile(file)), scanBefore);

    const nlohmann::json tags = test::ExifTool::tags(file);
    EXPECT_EQ(text(tags, "XMP-lorekeep:AssetID"), "B/L0/001");
    EXPECT_EQ(text(tags, "XMP-xmp:Rating"), "<absent>") << "a non-favourite gets no rating";
    EXPECT_EQ(text(tags, "ExifIFD:DateTimeOriginal"), "2016:10:09 14:44:18");
    EXPECT_EQ(text(tags, "ExifIFD:OffsetTimeOriginal"), "<absent>");
    EXPECT_EQ(text(tags, "IFD0:Make"), "Apple") << "the camera's own EXIF stays";
    EXPECT_NE(text(tags, "IFD1:ThumbnailLength"), "<absent>");
}

TEST(MetadataWriter, refusesToEmbedIntoHeicAndLeavesItAlone) {
    const std::filesystem::path original = SampleImages::libraryOriginal("heic");
    if (original.empty())
        GTEST_SKIP() << "the real photo libraries are not available";
    const test::TempDir dir;
    const std::filesystem::path file = dir / "IMG_0002.HEIC.partial";
    std::filesystem::copy_file(original, file);
    try {
        (void)MetadataWriter().embed(holidayPhoto(), file);
        FAIL() << "embedding into HEIC worked";
    } catch (const MetadataError& error) {
        EXPECT_STREQ(error.what(), "cannot create destination for public.heic");
    }
    EXPECT_EQ(readFile(file), readFile(original));
    EXPECT_FALSE(std::filesystem::exists(dir / "IMG_0002.HEIC.partial.meta"));
}

TEST(MetadataWriter, sidecarOfAHeicLeavesOutTheDateAndPlaceItAlreadyHolds) {
    const std::filesystem::path original = SampleImages::libraryOriginal("heic");
    if (original.empty())
        GTEST_SKIP() << "the real photo libraries are not available";
    const test::TempDir dir;
    const std::filesystem::path file = dir / "IMG_0002.HEIC";
    std::filesystem::copy_file(original, file);
    // The file says 2021:08:06 11:32:22 at -07:00, at 36.11215 N, 115.17071 W.
    AssetMeta meta{.localIdentifier = "C/L0/001",
                   .creationDate = Date::fromUnixSeconds(1628274742),
                   .latitude = 36.11215,
                   .longitude = -115.17071,
                   .mediaType = "image"};
    EXPECT_EQ(MetadataWriter().writeSidecar(meta, file), std::vector<std::string>{"assetID"});
    const nlohmann::json tags = test::ExifTool::tags(dir / "IMG_0002.xmp");
    EXPECT_EQ(text(tags, "XMP-lorekeep:AssetID"), "C/L0/001");
    EXPECT_EQ(text(tags, "XMP-exif:DateTimeOriginal"), "<absent>");
}

TEST(MetadataWriter, sidecarOfAMovieCarriesDateAndPlaceAndReplacesTheOldOne) {
    const test::ScopedTimeZone zone(berlin);
    const test::TempDir dir;
    const std::filesystem::path movie = dir / "IMG_0003.MOV";
    const std::filesystem::path original = SampleImages::libraryOriginal("mov");
    if (original.empty())
        writeFile(movie, "not really a movie");
    else
        std::filesystem::copy_file(original, movie);
    writeFile(dir / "IMG_0003.xmp", "an old sidecar");

    EXPECT_EQ(MetadataWriter().writeSidecar(holidayPhoto(), movie),
              (std::vector<std::string>{"assetID", "rating", "albums", "date", "gps"}));
    const std::filesystem::path sidecar = dir / "IMG_0003.xmp";
    EXPECT_EQ(MetadataWriter::sidecarPath(movie), sidecar);
    const nlohmann::json tags = test::ExifTool::tags(sidecar);
    EXPECT_EQ(text(tags, "XMP-lorekeep:AssetID"), holidayPhoto().localIdentifier);
    EXPECT_EQ(list(tags, "XMP-lr:HierarchicalSubject"),
              (std::vector<std::string>{"Albums|Holidays 2023", "Albums|Family/Kids"}));
    EXPECT_EQ(text(tags, "XMP-exif:DateTimeOriginal"), "2024:05:05 14:03:27+02:00");
    EXPECT_NEAR(number(tags, "XMP-exif:GPSLatitude"), -33.856789, 1e-7);
    EXPECT_NEAR(number(tags, "XMP-exif:GPSAltitude"), 12.5, 1e-9);
    EXPECT_EQ(number(tags, "XMP-exif:GPSAltitudeRef"), 1);
    const std::string packet = readFile(sidecar);
    EXPECT_NE(packet.find("xmlns:lorekeep=\"https://lorekeep.app/ns/lorekeep/1.0/\""), std::string::npos) << packet;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2) << "no temporary files left";
}

TEST(MetadataWriter, embedFailsOnAFileThatIsNotAnImage) {
    const test::TempDir dir;
    const std::filesystem::path file = dir / "notes.jpg";
    writeFile(file, "plain text, not a JPEG");
    try {
        (void)MetadataWriter().embed(holidayPhoto(), file);
        FAIL() << "embedding into text worked";
    } catch (const MetadataError& error) {
        EXPECT_STREQ(error.what(), "cannot open as image");
    }
    EXPECT_EQ(readFile(file), "plain text, not a JPEG");
}

// A backend that opens every file as a JPEG and fails where it is told to; for the failures Exiv2 never has.
class FailingBackend final : public MetadataBackend {
public:
    bool registers = true;
    bool serializes = true;

    class Source final : public ImageSource {
    public:
        const std::string& typeIdentifier() const override { return m_type; }
        const ImageProperties& properties() const override { return m_properties; }
        bool canWrite() const override { return true; }
        std::span<const char> withMetadata(const XmpMetadata&) const override { throw std::runtime_error(""); }

    private:
        std::string m_type = "public.jpeg";
        ImageProperties m_properties;
    };

    bool registerNamespaces() const override { return registers; }
    std::unique_ptr<ImageSource> openImage(const std::filesystem::path&) const override {
        return std::make_unique<Source>();
    }
    std::unique_ptr<ImageSource> openImage(std::span<const char>) const override { return std::make_unique<Source>(); }
    std::optional<std::string> serialize(const XmpMetadata&) const override {
        return serializes ? std::optional<std::string>("<x/>") : std::nullopt;
    }
};

TEST(MetadataWriter, reportsBackendFailuresInItsOwnWords) {
    const test::TempDir dir;
    const std::filesystem::path file = dir / "photo.jpg";
    writeFile(file, "bytes");
    const auto backend = std::make_shared<FailingBackend>();
    const MetadataWriter writer(backend);
    const auto failure = [&](auto write) {
        try {
            write();
        } catch (const MetadataError& error) {
            return std::string(error.what());
        }
        return std::string("no error");
    };

    EXPECT_EQ(failure([&] { (void)writer.embed(holidayPhoto(), file); }),
              "lossless copy failed for public.jpeg: unknown");
    EXPECT_FALSE(std::filesystem::exists(dir / "photo.jpg.meta"));
    EXPECT_EQ(readFile(file), "bytes");

    backend->serializes = false;
    EXPECT_EQ(failure([&] { (void)writer.writeSidecar(holidayPhoto(), file); }), "XMP serialisation failed");
    EXPECT_FALSE(std::filesystem::exists(dir / "photo.xmp"));

    backend->registers = false;
    EXPECT_EQ(failure([&] { (void)writer.buildXMP(holidayPhoto(), {}); }), "namespace registration failed");
}

} // namespace
} // namespace lorekeep

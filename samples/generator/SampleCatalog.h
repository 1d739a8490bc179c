#pragma once

#include "Picture.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lorekeep::sample {

/// A wall-clock time with its offset from UTC, as a camera records it.
struct LocalTime {
    int year = 2001;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int utcOffsetMinutes = 0;
    std::string zoneName;

    /// The instant in seconds since 2001-01-01 00:00:00 UTC, the Photos database's dates.
    [[nodiscard]] double referenceSeconds() const;
    /// Seconds since 1904-01-01 00:00:00 UTC, QuickTime's dates.
    [[nodiscard]] std::uint32_t quickTimeSeconds() const;
    /// "2024:05:18 07:42:10", Exif's form.
    [[nodiscard]] std::string exifText() const;
    /// "+02:00"
    [[nodiscard]] std::string offsetText() const;
    /// "2024-05-18T07:42:10+0200", the QuickTime creation date's form.
    [[nodiscard]] std::string quickTimeText() const;
};

struct Place {
    double latitude = 0;
    double longitude = 0;
    double altitude = 0;
};

/// What a sample picture shows: a sky, a sun and a line of hills, in the asset's own colours.
struct Scene {
    Rgb skyTop;
    Rgb skyHorizon;
    Rgb sun;
    Rgb hillTop;
    Rgb hillBottom;
    double sunX = 0.7; ///< share of the width
    double sunY = 0.3; ///< share of the height
};

enum class SampleKind { photo, livePhoto, rawAndJpeg, editedPhoto, video };

struct SampleAsset {
    std::string uuid;
    std::string originalFilename; ///< as the camera named it, "IMG_0101.JPG"
    std::string title;            ///< written on the picture
    SampleKind kind = SampleKind::photo;
    LocalTime taken;
    Scene scene;
    bool favorite = false;
    std::optional<Place> place;
    /// Pairs a Live Photo's still and video.
    std::string mediaGroupUuid;
};

struct SampleAlbum {
    std::string uuid;
    std::string title;
    std::vector<std::string> assetUuids;
};

struct SampleFolder {
    std::string uuid;
    std::string title;
    std::vector<SampleAlbum> albums;
};

/// Everything the sample library holds, with fixed identifiers and dates so that every run makes the same library.
struct SampleCatalog {
    std::string storeUuid;
    std::string rootFolderUuid;
    std::string projectsFolderUuid;
    /// When the assets were imported and the albums made.
    LocalTime imported;
    std::vector<SampleAsset> assets;
    /// Top-level albums and folders, in the order Photos lists them.
    std::vector<SampleAlbum> albums;
    std::vector<SampleFolder> folders;

    [[nodiscard]] static SampleCatalog standard();
};

} // namespace lorekeep::sample

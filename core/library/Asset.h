#pragma once

#include "base/Date.h"

#include <cstdint>
#include <optional>
#include <string>

namespace lorekeep {

/// Media types by the platform's numeric values.
enum class MediaType : int { unknown = 0, image = 1, video = 2, audio = 3 };

/// Bits of an asset's media subtypes, by the platform's values.
namespace MediaSubtype {
inline constexpr std::uint64_t photoPanorama = 1u << 0;
inline constexpr std::uint64_t photoHDR = 1u << 1;
inline constexpr std::uint64_t photoScreenshot = 1u << 2;
inline constexpr std::uint64_t photoLive = 1u << 3;
inline constexpr std::uint64_t photoDepthEffect = 1u << 4;
inline constexpr std::uint64_t videoStreamed = 1u << 16;
inline constexpr std::uint64_t videoHighFrameRate = 1u << 17;
inline constexpr std::uint64_t videoTimelapse = 1u << 18;
inline constexpr std::uint64_t videoCinematic = 1u << 21;
} // namespace MediaSubtype

/// Where an asset comes from, by the platform's numeric values (also used as bits of a source-type mask).
enum class SourceType : int { userLibrary = 1, cloudShared = 2 };

struct Location {
    double latitude = 0;
    double longitude = 0;
    double altitude = 0;

    friend bool operator==(const Location&, const Location&) = default;
};

/// One photo, video or audio item of the library.
struct Asset {
    std::string localIdentifier;
    std::optional<Date> creationDate;
    std::optional<Date> modificationDate;
    MediaType mediaType = MediaType::unknown;
    std::uint64_t mediaSubtypes = 0;
    std::optional<Location> location;
    bool favorite = false;
    bool hidden = false;
    SourceType sourceType = SourceType::userLibrary;

    friend bool operator==(const Asset&, const Asset&) = default;
};

/// Resource types by the platform's numeric values; an asset may carry values not named here.
enum class ResourceType : int {
    photo = 1,
    video = 2,
    audio = 3,
    alternatePhoto = 4,
    fullSizePhoto = 5,
    fullSizeVideo = 6,
    adjustmentData = 7,
    adjustmentBasePhoto = 8,
    pairedVideo = 9,
    fullSizePairedVideo = 10,
    adjustmentBasePairedVideo = 11,
    adjustmentBaseVideo = 12,
    photoProxy = 19,
};

/// One stored file of an asset: its original, a RAW partner, a Live Photo video, an edit, ...
struct AssetResource {
    ResourceType type = ResourceType::photo;
    std::string originalFilename;
    std::string uniformTypeIdentifier;
    /// Opaque to everyone but the library that produced it (a file path, a PhotoKit handle, a test key).
    std::string locator;

    friend bool operator==(const AssetResource&, const AssetResource&) = default;
};

} // namespace lorekeep

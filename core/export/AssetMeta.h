#pragma once

#include "base/Date.h"
#include "base/Json.h"
#include "library/Asset.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lorekeep {

class PhotoLibrary;

/// What the backup writes about one asset into its files (or beside them): identity, capture date, place,
/// favourite flag, kind and album titles.
struct AssetMeta {
    std::string localIdentifier;
    /// The file name of the first photo, video or audio resource.
    std::optional<std::string> originalFilename;
    std::optional<Date> creationDate;
    /// Degrees; all three are present or none is.
    std::optional<double> latitude;
    std::optional<double> longitude;
    /// Metres.
    std::optional<double> altitude;
    bool favorite = false;
    /// "image", "video", "audio" or "unknown".
    std::string mediaType;
    /// Names of the subtype bits that are set, in subtypeNames order.
    std::vector<std::string> subtypes;
    /// Titles of the user albums holding the asset, in the library's order; duplicates kept.
    std::vector<std::string> albums;

    /// Subtype bits and their names, in the order they are listed.
    static constexpr std::array<std::pair<std::uint64_t, std::string_view>, 9> subtypeNames{{
        {MediaSubtype::photoPanorama, "panorama"},
        {MediaSubtype::photoHDR, "hdr"},
        {MediaSubtype::photoScreenshot, "screenshot"},
        {MediaSubtype::photoLive, "live"},
        {MediaSubtype::photoDepthEffect, "portrait"},
        {MediaSubtype::videoStreamed, "streamed"},
        {MediaSubtype::videoHighFrameRate, "slomo"},
        {MediaSubtype::videoTimelapse, "timelapse"},
        {MediaSubtype::videoCinematic, "cinematic"},
    }};

    /// The record of an asset whose album titles are already known.
    static AssetMeta make(const Asset& asset, const std::vector<AssetResource>& resources,
                          std::vector<std::string> albumTitles);
    /// The record of an asset, its album titles asked of the library. Never throws: an album lookup that fails
    /// leaves the album list empty.
    static AssetMeta make(PhotoLibrary& library, const Asset& asset, const std::vector<AssetResource>& resources);

    static std::string_view mediaTypeName(MediaType type);

    /// Pretty-printed with sorted keys, "/" unescaped, dates as ISO 8601; absent values left out.
    [[nodiscard]] std::string toJson() const;
    /// Missing optional keys are absent; a missing required key, a wrong type or a bad date throws JsonError.
    static AssetMeta decode(const json::Value& object);
    static AssetMeta fromJson(std::string_view text);

    friend bool operator==(const AssetMeta&, const AssetMeta&) = default;
};

} // namespace lorekeep

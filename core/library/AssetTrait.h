#pragma once

#include "library/Asset.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace lorekeep {

/// What kind of asset something is, by the resources it carries. Stored by its case name.
enum class AssetTrait { rawPair, livePhoto, edited, video, plainPhoto };

/// Every trait, in declaration order.
inline constexpr std::array<AssetTrait, 5> allAssetTraits{
    AssetTrait::rawPair, AssetTrait::livePhoto, AssetTrait::edited, AssetTrait::video, AssetTrait::plainPhoto};

std::string_view toString(AssetTrait trait);
/// The trait for a stored case name, or nothing for an unknown name.
std::optional<AssetTrait> assetTraitFromString(std::string_view text);

/// The traits of an asset in declaration order. A video always has `video`; `plainPhoto` stands alone, for a
/// photo with no RAW partner, no paired video and no edit (adjustment data alone counts as an edit).
[[nodiscard]] std::vector<AssetTrait> assetTraits(const Asset& asset, const std::vector<AssetResource>& resources);

} // namespace lorekeep

#include "library/AssetTrait.h"

#include <algorithm>

namespace lorekeep {

std::string_view toString(AssetTrait trait) {
    switch (trait) {
    case AssetTrait::rawPair:
        return "rawPair";
    case AssetTrait::livePhoto:
        return "livePhoto";
    case AssetTrait::edited:
        return "edited";
    case AssetTrait::video:
        return "video";
    case AssetTrait::plainPhoto:
        return "plainPhoto";
    }
    return "plainPhoto";
}

std::optional<AssetTrait> assetTraitFromString(std::string_view text) {
    const auto found =
        std::find_if(allAssetTraits.begin(), allAssetTraits.end(), [&](AssetTrait t) { return toString(t) == text; });
    return found == allAssetTraits.end() ? std::nullopt : std::optional(*found);
}

std::vector<AssetTrait> assetTraits(const Asset& asset, const std::vector<AssetResource>& resources) {
    const auto has = [&](std::initializer_list<ResourceType> types) {
        return std::any_of(resources.begin(), resources.end(), [&](const AssetResource& resource) {
            return std::find(types.begin(), types.end(), resource.type) != types.end();
        });
    };
    std::vector<AssetTrait> traits;
    if (has({ResourceType::alternatePhoto}))
        traits.push_back(AssetTrait::rawPair);
    if (has({ResourceType::pairedVideo}))
        traits.push_back(AssetTrait::livePhoto);
    if (has({ResourceType::adjustmentData, ResourceType::fullSizePhoto, ResourceType::fullSizeVideo,
             ResourceType::fullSizePairedVideo}))
        traits.push_back(AssetTrait::edited);
    if (asset.mediaType == MediaType::video)
        traits.push_back(AssetTrait::video);
    else if (traits.empty())
        traits.push_back(AssetTrait::plainPhoto);
    return traits;
}

} // namespace lorekeep

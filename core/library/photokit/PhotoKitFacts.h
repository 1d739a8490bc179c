#pragma once

#include "library/PhotoLibrary.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep::photokit {

/// What the adapter reads off a PHAsset, as plain values. Dates are seconds since 1970 (NSDate's
/// timeIntervalSince1970).
struct AssetFacts {
    std::string localIdentifier;
    std::optional<double> creationDate;
    std::optional<double> modificationDate;
    long long mediaType = 0;
    std::uint64_t mediaSubtypes = 0;
    unsigned sourceType = 1;
    bool favorite = false;
    bool hidden = false;

    /// The CLLocation, when the asset has one: a negative accuracy marks a coordinate or altitude as invalid.
    struct Place {
        double latitude = 0;
        double longitude = 0;
        double altitude = 0;
        double horizontalAccuracy = 0;
        double verticalAccuracy = 0;
    };
    std::optional<Place> location;
};

/// What the adapter reads off a PHCollection.
struct CollectionFacts {
    /// A PHCollectionList (a folder); otherwise a PHAssetCollection.
    bool isFolder = false;
    std::string localIdentifier;
    std::optional<std::string> localizedTitle;
    /// assetCollectionType and assetCollectionSubtype (0 for folders).
    long long type = 0;
    long long subtype = 0;
    /// estimatedAssetCount; NSNotFound when PhotoKit does not know it.
    long long estimatedAssetCount = 0;
};

/// What the adapter reads off a PHAssetResource.
struct ResourceFacts {
    long long type = 0;
    std::string originalFilename;
    std::string uniformTypeIdentifier;
};

/// NSNotFound, the "no estimate" of estimatedAssetCount (NSIntegerMax on 64-bit systems).
inline constexpr long long notFound = 0x7fffffffffffffffLL;

[[nodiscard]] Asset assetFrom(const AssetFacts& facts);
/// The collection, or nothing for one the engine does not show (smart albums).
[[nodiscard]] std::optional<Collection> collectionFrom(const CollectionFacts& facts);
/// The asset's resources in PhotoKit's order; each locator names the asset and the resource's place among them.
[[nodiscard]] std::vector<AssetResource> resourcesFrom(const std::string& assetIdentifier,
                                                       const std::vector<ResourceFacts>& facts);

/// Where a resource is found again: the asset's identifier, and the index and type of the resource in
/// assetResourcesForAsset's list.
struct ResourceLocation {
    std::string assetIdentifier;
    std::size_t index = 0;
    long long type = 0;

    friend bool operator==(const ResourceLocation&, const ResourceLocation&) = default;
};
[[nodiscard]] std::string locatorText(const ResourceLocation& location);
/// The location in a locator, or nothing when the text was not made by locatorText.
[[nodiscard]] std::optional<ResourceLocation> parseLocator(std::string_view locator);
/// Which of the asset's current resources the location means: the one at its index when it still has the type
/// recorded, else the first of that type; nothing when the asset has none of that type any more.
[[nodiscard]] std::optional<std::size_t> pickResource(const ResourceLocation& location,
                                                      const std::vector<long long>& currentTypes);

/// The details of one object type in a persistent change, or the error that prevented reading them.
struct DetailsFacts {
    ChangeDetails details;
    /// Set when changeDetailsForObjectType failed.
    std::optional<std::string> error;
};
struct ChangeFacts {
    DetailsFacts assets;
    DetailsFacts albums;
    DetailsFacts folders;
};
/// The engine's changes for the history read; throws LibraryError with the first change whose details are missing.
[[nodiscard]] std::vector<PersistentChange> changesFrom(const std::vector<ChangeFacts>& history);

} // namespace lorekeep::photokit

#include "library/photokit/PhotoKitFacts.h"

#include <charconv>

namespace lorekeep::photokit {
namespace {

constexpr long long smartAlbum = 2;

std::optional<Date> dateFrom(const std::optional<double>& unixSeconds) {
    if (!unixSeconds)
        return std::nullopt;
    return Date::fromUnixSeconds(*unixSeconds);
}

std::optional<Location> locationFrom(const std::optional<AssetFacts::Place>& place) {
    // A location whose coordinate is invalid (kCLLocationCoordinate2DInvalid, or a negative horizontal accuracy)
    // is no location; an invalid altitude alone only leaves the altitude out (0, never written as a height).
    if (!place || place->horizontalAccuracy < 0 || place->latitude < -90 || place->latitude > 90 ||
        place->longitude < -180 || place->longitude > 180)
        return std::nullopt;
    return Location{place->latitude, place->longitude, place->verticalAccuracy < 0 ? 0.0 : place->altitude};
}

SourceType sourceTypeFrom(unsigned bits) {
    // An asset has one source; iTunes-synced ones are the user's own, as far as a backup is concerned.
    return (bits & 2u) != 0 && (bits & 1u) == 0 ? SourceType::cloudShared : SourceType::userLibrary;
}

void checked(const DetailsFacts& facts, std::size_t change, const char* what) {
    if (facts.error)
        throw LibraryError("the Photos change history has no details of " + std::string(what) + " for change " +
                           std::to_string(change + 1) + ": " + *facts.error);
}

} // namespace

Asset assetFrom(const AssetFacts& facts) {
    Asset asset;
    asset.localIdentifier = facts.localIdentifier;
    asset.creationDate = dateFrom(facts.creationDate);
    asset.modificationDate = dateFrom(facts.modificationDate);
    asset.mediaType =
        facts.mediaType >= 0 && facts.mediaType <= 3 ? static_cast<MediaType>(facts.mediaType) : MediaType::unknown;
    asset.mediaSubtypes = facts.mediaSubtypes;
    asset.location = locationFrom(facts.location);
    asset.favorite = facts.favorite;
    asset.hidden = facts.hidden;
    asset.sourceType = sourceTypeFrom(facts.sourceType);
    return asset;
}

std::optional<Collection> collectionFrom(const CollectionFacts& facts) {
    if (!facts.isFolder && facts.type == smartAlbum)
        return std::nullopt;
    Collection collection;
    collection.kind = facts.isFolder ? CollectionKind::folder : CollectionKind::album;
    collection.localIdentifier = facts.localIdentifier;
    collection.title = facts.localizedTitle;
    collection.subtype = facts.isFolder ? 0 : static_cast<int>(facts.subtype);
    if (!facts.isFolder && facts.estimatedAssetCount != notFound && facts.estimatedAssetCount >= 0)
        collection.estimatedCount = facts.estimatedAssetCount;
    return collection;
}

std::vector<AssetResource> resourcesFrom(const std::string& assetIdentifier, const std::vector<ResourceFacts>& facts) {
    std::vector<AssetResource> resources;
    resources.reserve(facts.size());
    for (std::size_t i = 0; i < facts.size(); ++i) {
        AssetResource resource;
        // Types PhotoKit adds later keep their number: the file plan ignores the ones it does not know.
        resource.type = static_cast<ResourceType>(facts[i].type);
        resource.originalFilename = facts[i].originalFilename;
        resource.uniformTypeIdentifier = facts[i].uniformTypeIdentifier;
        resource.locator = locatorText({assetIdentifier, i, facts[i].type});
        resources.push_back(std::move(resource));
    }
    return resources;
}

// "<index>:<type>:<asset identifier>": the identifier goes last because it may hold any character.
std::string locatorText(const ResourceLocation& location) {
    return std::to_string(location.index) + ':' + std::to_string(location.type) + ':' + location.assetIdentifier;
}

std::optional<ResourceLocation> parseLocator(std::string_view locator) {
    ResourceLocation location;
    const char* const end = locator.data() + locator.size();
    auto [afterIndex, indexError] = std::from_chars(locator.data(), end, location.index);
    if (indexError != std::errc() || afterIndex == end || *afterIndex != ':')
        return std::nullopt;
    auto [afterType, typeError] = std::from_chars(afterIndex + 1, end, location.type);
    if (typeError != std::errc() || afterType == end || *afterType != ':' || afterType + 1 == end)
        return std::nullopt;
    location.assetIdentifier.assign(afterType + 1, end);
    return location;
}

std::optional<std::size_t> pickResource(const ResourceLocation& location, const std::vector<long long>& currentTypes) {
    if (location.index < currentTypes.size() && currentTypes[location.index] == location.type)
        return location.index;
    for (std::size_t i = 0; i < currentTypes.size(); ++i)
        if (currentTypes[i] == location.type)
            return i;
    return std::nullopt;
}

std::vector<PersistentChange> changesFrom(const std::vector<ChangeFacts>& history) {
    std::vector<PersistentChange> changes;
    changes.reserve(history.size());
    for (std::size_t i = 0; i < history.size(); ++i) {
        const ChangeFacts& facts = history[i];
        checked(facts.assets, i, "assets");
        checked(facts.albums, i, "albums");
        checked(facts.folders, i, "folders");
        changes.push_back({facts.assets.details, facts.albums.details, facts.folders.details});
    }
    return changes;
}

} // namespace lorekeep::photokit

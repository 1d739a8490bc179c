#include "library/ScopeQuery.h"

#include <unordered_set>

namespace lorekeep {

FetchOptions ScopeQuery::fetchOptions() const {
    FetchOptions options{
        .newestFirst = true,
        .sourceTypes = static_cast<int>(SourceType::userLibrary),
        .includeHidden = false,
        .createdOnOrAfter = scope.startDate,
    };
    if (scope.includePhotos && !scope.includeVideos)
        options.mediaType = static_cast<int>(MediaType::image);
    else if (!scope.includePhotos && scope.includeVideos)
        options.mediaType = static_cast<int>(MediaType::video);
    else if (!scope.includePhotos && !scope.includeVideos)
        options.mediaType = -1;
    return options;
}

AssetList ScopeQuery::assets(PhotoLibrary& library) const {
    const FetchOptions options = fetchOptions();
    if (!scope.albumIDs)
        return library.fetchAssets(options);

    std::vector<Asset> united;
    std::unordered_set<std::string> seen;
    for (const Collection& album : library.albums(*scope.albumIDs)) {
        const AssetList members = library.fetchAssetsInAlbum(album.localIdentifier, options);
        for (std::size_t i = 0; i < members.count(); ++i) {
            Asset asset = members.at(i);
            if (seen.insert(asset.localIdentifier).second)
                united.push_back(std::move(asset));
        }
    }
    return AssetList::of(std::move(united));
}

AssetList ScopeQuery::assets(PhotoLibrary& library, const std::vector<std::string>& identifiers) const {
    AssetList fetched = library.fetchAssets(identifiers, fetchOptions());
    if (!scope.albumIDs)
        return fetched;

    const AssetList inScope = assets(library);
    std::unordered_set<std::string> scopeIdentifiers;
    scopeIdentifiers.reserve(inScope.count());
    for (std::size_t i = 0; i < inScope.count(); ++i)
        scopeIdentifiers.insert(inScope.at(i).localIdentifier);

    std::vector<Asset> kept;
    for (std::size_t i = 0; i < fetched.count(); ++i) {
        Asset asset = fetched.at(i);
        if (scopeIdentifiers.contains(asset.localIdentifier))
            kept.push_back(std::move(asset));
    }
    return AssetList::of(std::move(kept));
}

} // namespace lorekeep

#include "library/package/PhotosPackageLibrary.h"

#include "library/package/PackageAlbums.h"
#include "library/package/PackageAssets.h"
#include "library/package/PackageHistory.h"
#include "library/package/PackagePrefetch.h"
#include "library/package/PackageResources.h"

namespace lorekeep {

PhotosPackageLibrary::PhotosPackageLibrary(const std::filesystem::path& package)
    : m_database(std::make_shared<const PackageDatabase>(package)),
      m_assets(std::make_unique<PackageAssets>(m_database)), m_albums(std::make_unique<PackageAlbums>(m_database)),
      m_resources(std::make_unique<PackageResources>(m_database)),
      m_history(std::make_unique<PackageHistory>(m_database)) {}

PhotosPackageLibrary::~PhotosPackageLibrary() {
    // The prefetch thread lists with m_resources: it stops first.
    m_prefetch = nullptr;
    m_prefetchOwner.reset();
}

AssetList PhotosPackageLibrary::fetchAssets(const FetchOptions& options) {
    return m_assets->fetch(options);
}

AssetList PhotosPackageLibrary::fetchAssets(const std::vector<std::string>& identifiers, const FetchOptions& options) {
    return m_assets->fetch(identifiers, options);
}

AssetList PhotosPackageLibrary::fetchAssetsInAlbum(const std::string& albumIdentifier, const FetchOptions& options) {
    const std::optional<std::int64_t> key = m_albums->albumKey(albumIdentifier);
    return key ? m_assets->fetchInAlbum(*key, options) : AssetList();
}

std::vector<Collection> PhotosPackageLibrary::topLevelCollections() {
    return m_albums->topLevel();
}

std::vector<Collection> PhotosPackageLibrary::childCollections(const std::string& folderIdentifier) {
    return m_albums->children(folderIdentifier);
}

std::vector<Collection> PhotosPackageLibrary::albums(const std::vector<std::string>& identifiers) {
    return m_albums->albums(identifiers);
}

std::vector<Collection> PhotosPackageLibrary::albumsContaining(const std::string& assetIdentifier) {
    return m_albums->containing(assetIdentifier);
}

std::vector<AssetResource> PhotosPackageLibrary::resources(const Asset& asset) {
    if (PackagePrefetch* prefetch = m_prefetch.load()) {
        if (std::optional<std::vector<AssetResource>> listed = prefetch->take(asset.localIdentifier))
            return std::move(*listed);
    }
    return m_resources->resources(asset.localIdentifier);
}

void PhotosPackageLibrary::willExport(const std::vector<std::string>& assetIdentifiers) {
    std::call_once(m_prefetchMade, [this] {
        m_prefetchOwner = std::make_unique<PackagePrefetch>(*m_resources);
        m_prefetch = m_prefetchOwner.get();
    });
    m_prefetch.load()->add(assetIdentifiers);
}

void PhotosPackageLibrary::writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                                         bool /*networkAllowed*/) {
    m_resources->write(resource, destination);
}

std::optional<std::vector<char>> PhotosPackageLibrary::readResource(const AssetResource& resource, std::size_t limit) {
    return m_resources->read(resource, limit);
}

void PhotosPackageLibrary::renderPhoto(const Asset& asset, const std::filesystem::path& destination) {
    m_resources->renderPhoto(asset.localIdentifier, destination);
}

void PhotosPackageLibrary::renderVideo(const Asset& asset, const std::filesystem::path& destination) {
    m_resources->renderVideo(asset.localIdentifier, destination);
}

ChangeToken PhotosPackageLibrary::currentChangeToken() {
    return m_history->current();
}

std::optional<ChangeToken> PhotosPackageLibrary::unarchiveToken(std::string_view archive) {
    return m_history->unarchive(archive);
}

std::vector<PersistentChange> PhotosPackageLibrary::persistentChanges(const ChangeToken& since) {
    return m_history->changesSince(since);
}

} // namespace lorekeep

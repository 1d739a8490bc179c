#pragma once

#include "library/PhotoLibrary.h"
#include "library/package/PackageDatabase.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>

namespace lorekeep {

class PackageAssets;
class PackageAlbums;
class PackageHistory;
class PackagePrefetch;
class PackageResources;

/// The photo library read directly from a .photoslibrary package on disk (Photos 5 and later, macOS 10.15 to 26):
/// database/Photos.sqlite and the files beside it. Read-only; the package is never written.
///
/// There is no cloud here: a file that is not in the package (an original kept in iCloud only) fails to write
/// whether or not the network is allowed, and an edit is "rendered" by copying the render Photos stored.
/// Lists of assets are lazy and may be read after the library object is gone.
class PhotosPackageLibrary final : public PhotoLibrary {
public:
    /// Opens the package. Throws LibraryError when it holds no database this program can read.
    explicit PhotosPackageLibrary(const std::filesystem::path& package);
    ~PhotosPackageLibrary() override;

    [[nodiscard]] const std::filesystem::path& package() const { return m_database->package(); }
    /// How the database was opened (see PackageDatabase).
    [[nodiscard]] PackageDatabase::Access databaseAccess() const { return m_database->access(); }
    /// The database was read without its write-ahead log although there is one: recent changes may be missing.
    [[nodiscard]] bool mayMissRecentChanges() const { return m_database->mayMissRecentChanges(); }

    AssetList fetchAssets(const FetchOptions& options) override;
    AssetList fetchAssets(const std::vector<std::string>& identifiers, const FetchOptions& options) override;
    AssetList fetchAssetsInAlbum(const std::string& albumIdentifier, const FetchOptions& options) override;

    std::vector<Collection> topLevelCollections() override;
    std::vector<Collection> childCollections(const std::string& folderIdentifier) override;
    std::vector<Collection> albums(const std::vector<std::string>& identifiers) override;
    std::vector<Collection> albumsContaining(const std::string& assetIdentifier) override;

    std::vector<AssetResource> resources(const Asset& asset) override;
    /// Lists the assets and reads their files in on a thread of its own, a little ahead of the caller.
    void willExport(const std::vector<std::string>& assetIdentifiers) override;
    void writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                       bool networkAllowed) override;
    std::optional<std::vector<char>> readResource(const AssetResource& resource, std::size_t limit) override;
    void renderPhoto(const Asset& asset, const std::filesystem::path& destination) override;
    void renderVideo(const Asset& asset, const std::filesystem::path& destination) override;

    ChangeToken currentChangeToken() override;
    std::optional<ChangeToken> unarchiveToken(std::string_view archive) override;
    std::vector<PersistentChange> persistentChanges(const ChangeToken& since) override;

private:
    std::shared_ptr<const PackageDatabase> m_database;
    std::unique_ptr<PackageAssets> m_assets;
    std::unique_ptr<PackageAlbums> m_albums;
    std::unique_ptr<PackageResources> m_resources;
    std::unique_ptr<PackageHistory> m_history;
    /// Made when first asked for, and gone before the resources it lists.
    std::once_flag m_prefetchMade;
    std::unique_ptr<PackagePrefetch> m_prefetchOwner;
    std::atomic<PackagePrefetch*> m_prefetch = nullptr;
};

} // namespace lorekeep

#pragma once

#include "library/Asset.h"
#include "library/SqliteStatement.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace lorekeep {

class PackageDatabase;

/// The stored files of the assets of a library package. A resource's locator is the file's path inside the
/// package ("originals/A/<UUID>.jpeg"), or an absolute path for a referenced file that lives outside it.
class PackageResources {
public:
    explicit PackageResources(std::shared_ptr<const PackageDatabase> database);

    /// The resources of an asset, always in this order, so that the names planned from them stay stable: original,
    /// RAW alternate, Live Photo video, edited photo or video, edited Live Photo video, adjustment data. Empty for
    /// an unknown identifier. A resource is listed when the database knows it, whether or not its file is there.
    [[nodiscard]] std::vector<AssetResource> resources(const std::string& assetIdentifier) const;

    /// Copies a resource's file to a new file. Throws LibraryError when the file is not there (an original kept
    /// in iCloud only, an incomplete copy of a library) or cannot be copied.
    void write(const AssetResource& resource, const std::filesystem::path& destination) const;
    /// A resource's bytes when its file holds at most `limit` of them, else nothing. Throws like write.
    [[nodiscard]] std::optional<std::vector<char>> read(const AssetResource& resource, std::size_t limit) const;

    /// Copies the current version of a photo (the stored render of its edit, else its original). Throws
    /// RenderError when there is none.
    void renderPhoto(const std::string& assetIdentifier, const std::filesystem::path& destination) const;
    /// Copies the current version of a video, likewise.
    void renderVideo(const std::string& assetIdentifier, const std::filesystem::path& destination) const;

    /// The file a locator names, or nothing for a locator that would leave the package ("..", empty parts).
    [[nodiscard]] std::optional<std::filesystem::path> fileOf(const std::string& locator) const;

private:
    /// The file of a resource that is to be read; throws LibraryError for one that leaves the package.
    std::filesystem::path sourceOf(const AssetResource& resource) const;
    /// Throws the LibraryError of a resource whose file is not there.
    [[noreturn]] static void throwMissing(const AssetResource& resource);

    struct Listing {
        bool edited = false;
        std::vector<AssetResource> resources;
    };
    [[nodiscard]] std::optional<Listing> list(const std::string& assetIdentifier) const;
    [[nodiscard]] bool isStored(const AssetResource& resource) const;
    void copyCurrentVersion(const std::string& assetIdentifier, ResourceType edit, ResourceType original,
                            const std::filesystem::path& destination, bool video) const;

    std::shared_ptr<const PackageDatabase> m_database;
    bool m_compactUti = false;
    mutable std::mutex m_mutex;
    mutable SqliteStatement m_assetRow;
    mutable SqliteStatement m_storedRows;
    std::string m_cloudSharingData;
};

} // namespace lorekeep

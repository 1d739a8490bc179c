#pragma once

#include "library/PhotoLibrary.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lorekeep::test {

/// An in-memory photo library. Assets keep the order they were added in (the "library order"); fetches apply every
/// FetchOptions field and return snapshots. Resources are bytes in memory; writes and renders can be made to fail.
/// Change history is whatever the test records with recordChange(). All members are safe to call from any thread.
class FakePhotoLibrary : public PhotoLibrary {
public:
    enum class WriteFailure {
        never,
        /// The data is only in the cloud: a write without network access fails, one with network access works.
        withoutNetwork,
        always,
    };

    struct Resource {
        ResourceType type = ResourceType::photo;
        std::string originalFilename;
        std::string bytes;
        /// Empty: derived from the file name's extension.
        std::string uniformTypeIdentifier;
        WriteFailure failure = WriteFailure::never;
    };

    struct Folder {
        std::string id;
        std::optional<std::string> title;
        /// The folder this one lies in; none for the top level.
        std::optional<std::string> parent;
    };

    struct Album {
        std::string id;
        std::optional<std::string> title;
        /// Asset identifiers in album order; identifiers the library does not hold are ignored by fetches.
        std::vector<std::string> assets;
        std::optional<std::string> folder;
        int subtype = AlbumSubtype::regular;
        /// False: the album reports no estimated count, as PhotoKit does with NSNotFound.
        bool countKnown = true;
    };

    /// What one writeResource call asked for.
    struct WriteRecord {
        std::string assetId;
        ResourceType type = ResourceType::photo;
        bool networkAllowed = false;
        bool succeeded = false;

        friend bool operator==(const WriteRecord&, const WriteRecord&) = default;
    };

    /// Texts of the LibraryError thrown by failing writes.
    static constexpr const char* notDownloadedText = "the resource is not available on this device";
    static constexpr const char* writeFailedText = "the resource could not be written";

    FakePhotoLibrary();

    /// Short ways to make assets for tests. Dates default to 2024-05-05 12:00:00 UTC.
    static Asset photo(std::string id, std::optional<Date> created = defaultDate());
    static Asset video(std::string id, std::optional<Date> created = defaultDate());
    static Date defaultDate() { return Date::fromUnixSeconds(1714910400); }

    /// Adds an asset at the end of the library order; an asset with the same identifier is replaced in place.
    void addAsset(Asset asset, std::vector<Resource> resources = {});
    /// Replaces an asset's values, keeping its resources. Returns whether the asset was there.
    bool updateAsset(const Asset& asset);
    void setResources(const std::string& assetId, std::vector<Resource> resources);
    void setWriteFailure(const std::string& assetId, ResourceType type, WriteFailure failure);
    bool removeAsset(const std::string& assetId);

    void addFolder(Folder folder);
    void addAlbum(Album album);
    void setAlbumAssets(const std::string& albumId, std::vector<std::string> assetIds);
    void setCollectionTitle(const std::string& id, std::optional<std::string> title);
    /// Removes a folder or album; the children of a removed folder go with it.
    bool removeCollection(const std::string& id);

    /// The bytes the next renders of the asset produce. Without this, a render writes the asset's full-size edit
    /// (fullSizePhoto or fullSizeVideo), and fails with RenderError::noData when there is none.
    void setRender(const std::string& assetId, std::string bytes);
    void failRender(const std::string& assetId, RenderError error);

    /// Appends a change to the history. Returns the tokens of just before and just after it.
    std::pair<ChangeToken, ChangeToken> recordChange(PersistentChange change);
    /// Makes persistentChanges() throw LibraryError with the text (none: works again).
    void failPersistentChanges(std::optional<std::string> text);
    /// The history's identity: tokens issued under another store identifier are not unarchived. Changing it
    /// simulates a library that was replaced.
    void setStoreIdentifier(std::string identifier);

    std::vector<WriteRecord> writes() const;
    int renderCount() const;
    /// How many times resources() was called.
    int resourceListings() const;
    /// The identifiers willExport() was told of, in order.
    std::vector<std::string> toldAhead() const;
    /// How many assets were read out of fetched lists.
    std::int64_t assetReads() const { return m_assetReads->load(); }

    AssetList fetchAssets(const FetchOptions& options) override;
    AssetList fetchAssets(const std::vector<std::string>& identifiers, const FetchOptions& options) override;
    AssetList fetchAssetsInAlbum(const std::string& albumIdentifier, const FetchOptions& options) override;
    std::vector<Collection> topLevelCollections() override;
    std::vector<Collection> childCollections(const std::string& folderIdentifier) override;
    std::vector<Collection> albums(const std::vector<std::string>& identifiers) override;
    std::vector<Collection> albumsContaining(const std::string& assetIdentifier) override;
    std::vector<AssetResource> resources(const Asset& asset) override;
    void willExport(const std::vector<std::string>& assetIdentifiers) override;
    void writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                       bool networkAllowed) override;
    void renderPhoto(const Asset& asset, const std::filesystem::path& destination) override;
    void renderVideo(const Asset& asset, const std::filesystem::path& destination) override;
    ChangeToken currentChangeToken() override;
    std::optional<ChangeToken> unarchiveToken(std::string_view archive) override;
    std::vector<PersistentChange> persistentChanges(const ChangeToken& since) override;

private:
    struct Entry {
        Asset asset;
        std::vector<Resource> resources;
        std::optional<std::string> render;
        std::optional<RenderError> renderFailure;
    };
    struct Node {
        Collection collection;
        std::optional<std::string> parent;
        std::vector<std::string> assets;
        bool countKnown = true;
    };

    Entry* findEntry(const std::string& assetId);
    Node* findNode(const std::string& id);
    Collection describe(const Node& node) const;
    AssetList select(std::vector<const Entry*> candidates, const FetchOptions& options) const;
    void render(const Asset& asset, ResourceType fullSizeType, const std::filesystem::path& destination);
    ChangeToken tokenAt(std::size_t position) const;
    std::optional<std::size_t> positionOf(std::string_view archive) const;

    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
    std::unordered_map<std::string, std::size_t> m_positions;
    std::vector<Node> m_nodes;
    std::vector<PersistentChange> m_history;
    std::optional<std::string> m_historyFailure;
    std::string m_storeIdentifier = "fake-store";
    std::vector<WriteRecord> m_writes;
    int m_renders = 0;
    int m_resourceListings = 0;
    std::vector<std::string> m_toldAhead;
    std::shared_ptr<std::atomic<std::int64_t>> m_assetReads;
};

} // namespace lorekeep::test

#pragma once

#include "base/Date.h"
#include "library/Asset.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// A library operation that failed: a resource that could not be written, history that cannot be read, ...
/// what() is the text shown to the user.
class LibraryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The render of an edit failed.
class RenderError : public std::runtime_error {
public:
    enum class Kind { exportFailed, noData };

    /// "video render failed: " + message.
    static RenderError exportFailed(const std::string& message);
    /// "Photos returned no rendered data".
    static RenderError noData();

    Kind kind() const { return m_kind; }

private:
    RenderError(Kind kind, const std::string& text) : std::runtime_error(text), m_kind(kind) {}
    Kind m_kind;
};

/// Which assets a fetch returns and in what order. Each library applies them itself.
struct FetchOptions {
    /// Sort by creation date, newest first; otherwise the library's own order.
    bool newestFirst = false;
    /// Bits of SourceType values; assets of other sources are left out.
    int sourceTypes = static_cast<int>(SourceType::userLibrary) | static_cast<int>(SourceType::cloudShared);
    bool includeHidden = false;
    /// Only assets of this media type. A value that no asset has (such as -1) matches nothing.
    std::optional<int> mediaType;
    std::optional<Date> createdOnOrAfter;
    bool hiddenOnly = false;

    friend bool operator==(const FetchOptions&, const FetchOptions&) = default;
};

/// An indexable list of assets. Whole-library fetches are lazy: elements are made when asked for, so a large
/// library is never held in memory at once.
class AssetList {
public:
    class Source {
    public:
        virtual ~Source() = default;
        virtual std::size_t count() const = 0;
        virtual Asset at(std::size_t index) const = 0;
        /// A source that knows the identifiers without making the Assets says so.
        virtual std::string identifier(std::size_t index) const { return at(index).localIdentifier; }
    };

    AssetList() = default;
    explicit AssetList(std::shared_ptr<const Source> source) : m_source(std::move(source)) {}
    static AssetList of(std::vector<Asset> assets);

    std::size_t count() const { return m_source ? m_source->count() : 0; }
    Asset at(std::size_t index) const { return m_source->at(index); }
    /// at(index).localIdentifier, for a caller that needs no more: some lists know it without reading the asset.
    std::string identifier(std::size_t index) const { return m_source->identifier(index); }
    bool empty() const { return count() == 0; }

private:
    std::shared_ptr<const Source> m_source;
};

enum class CollectionKind { folder, album };

/// Album subtypes by the platform's values.
namespace AlbumSubtype {
inline constexpr int regular = 2;
inline constexpr int cloudShared = 101;
inline constexpr int smartAlbumGeneric = 200;
} // namespace AlbumSubtype

/// A folder of collections or an album.
struct Collection {
    CollectionKind kind = CollectionKind::album;
    std::string localIdentifier;
    std::optional<std::string> title;
    /// Album subtype (AlbumSubtype); 0 for folders.
    int subtype = 0;
    /// Number of assets when the library knows it cheaply.
    std::optional<std::int64_t> estimatedCount;

    friend bool operator==(const Collection&, const Collection&) = default;
};

/// The library's position in its change history, in its archived form.
struct ChangeToken {
    std::string archive;

    friend bool operator==(const ChangeToken&, const ChangeToken&) = default;
};

/// Local identifiers touched by one change, for one kind of object.
struct ChangeDetails {
    std::vector<std::string> inserted;
    std::vector<std::string> updated;
    std::vector<std::string> deleted;

    bool empty() const { return inserted.empty() && updated.empty() && deleted.empty(); }
    friend bool operator==(const ChangeDetails&, const ChangeDetails&) = default;
};

/// One entry of the library's persistent change history.
struct PersistentChange {
    ChangeDetails assets;
    ChangeDetails albums;
    ChangeDetails folders;

    friend bool operator==(const PersistentChange&, const PersistentChange&) = default;
};

/// The photo library as the engine sees it. Implemented by the library-package reader, the PhotoKit adapter and
/// the in-memory fake of the tests. Operations that fail throw LibraryError (RenderError for renders).
class PhotoLibrary {
public:
    virtual ~PhotoLibrary() = default;

    virtual AssetList fetchAssets(const FetchOptions& options) = 0;
    /// The assets among the identifiers that match the options; unknown identifiers are skipped.
    virtual AssetList fetchAssets(const std::vector<std::string>& identifiers, const FetchOptions& options) = 0;
    virtual AssetList fetchAssetsInAlbum(const std::string& albumIdentifier, const FetchOptions& options) = 0;

    /// The folders and albums at the top of the user's collection tree, in the library's order.
    virtual std::vector<Collection> topLevelCollections() = 0;
    virtual std::vector<Collection> childCollections(const std::string& folderIdentifier) = 0;
    /// The albums with these identifiers, in the library's order; unknown identifiers are skipped.
    virtual std::vector<Collection> albums(const std::vector<std::string>& identifiers) = 0;
    /// The user albums that hold the asset.
    virtual std::vector<Collection> albumsContaining(const std::string& assetIdentifier) = 0;

    /// The stored resources of an asset, in the library's order.
    virtual std::vector<AssetResource> resources(const Asset& asset) = 0;
    /// Tells the library that the resources of these assets are about to be listed and read, in this order, so
    /// that it can get them ready on the side. Only a hint: a library may do nothing.
    virtual void willExport(const std::vector<std::string>& assetIdentifiers) { (void)assetIdentifiers; }
    /// Writes a resource's bytes to a new file. With networkAllowed false only data present on this machine is
    /// used.
    virtual void writeResource(const AssetResource& resource, const std::filesystem::path& destination,
                               bool networkAllowed) = 0;
    /// The bytes of a resource on this machine when it holds at most `limit` of them, so that a caller can work
    /// on them in memory; nothing when it holds more, or when this library only hands resources out as files
    /// (writeResource does then). Throws LibraryError when the data is not on this machine.
    virtual std::optional<std::vector<char>> readResource(const AssetResource& resource, std::size_t limit);
    /// Renders the current (edited) version of a photo as image data into a file.
    virtual void renderPhoto(const Asset& asset, const std::filesystem::path& destination) = 0;
    /// Renders the current (edited) version of a video as a QuickTime movie into a file.
    virtual void renderVideo(const Asset& asset, const std::filesystem::path& destination) = 0;

    virtual ChangeToken currentChangeToken() = 0;
    /// The token held by an archive, or nothing when the bytes are not one of this library's tokens.
    virtual std::optional<ChangeToken> unarchiveToken(std::string_view archive) = 0;
    /// The changes made after the token, oldest first. Throws when the history cannot be read for it.
    virtual std::vector<PersistentChange> persistentChanges(const ChangeToken& since) = 0;
};

} // namespace lorekeep

#pragma once

#include "library/PhotoLibrary.h"
#include "library/SqliteStatement.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace lorekeep {

class PackageDatabase;

/// The user's folders and albums in a library package, as PhotoKit shows them: folders, regular albums and iCloud
/// shared albums; smart albums, system collections and albums in Recently Deleted are left out.
class PackageAlbums {
public:
    explicit PackageAlbums(std::shared_ptr<const PackageDatabase> database);
    ~PackageAlbums();

    /// The children of the top-level folder in their stored order, then the iCloud shared albums.
    [[nodiscard]] std::vector<Collection> topLevel() const;
    [[nodiscard]] std::vector<Collection> children(const std::string& folderIdentifier) const;
    /// The albums among the identifiers, in the order of a walk through the folders.
    [[nodiscard]] std::vector<Collection> albums(const std::vector<std::string>& identifiers) const;
    [[nodiscard]] std::vector<Collection> containing(const std::string& assetIdentifier) const;
    /// The row key of an album, for fetching its assets.
    [[nodiscard]] std::optional<std::int64_t> albumKey(const std::string& albumIdentifier) const;

    // ZGENERICALBUM.ZKIND values.
    static constexpr std::int64_t userAlbumKind = 2;
    static constexpr std::int64_t sharedAlbumKind = 1505;
    static constexpr std::int64_t rootFolderKind = 3999;
    static constexpr std::int64_t folderKind = 4000;

private:
    struct Node;
    class Tree;
    class Memberships;

    /// Forgets what was read before the database last changed and makes sure there is a tree. With m_mutex held.
    void refresh() const;
    /// The folders and albums as they are now: read again only after the database changed.
    [[nodiscard]] std::shared_ptr<const Tree> tree() const;
    [[nodiscard]] static Collection collection(const Tree& tree, const Node& node);
    [[nodiscard]] static std::vector<Collection> collections(const Tree& tree, const std::vector<const Node*>& nodes);

    std::shared_ptr<const PackageDatabase> m_database;
    mutable std::mutex m_mutex;
    mutable std::optional<SqliteStatement> m_dataVersion;
    mutable std::int64_t m_version = 0;
    mutable std::shared_ptr<const Tree> m_tree;
    /// Read on the first question of which albums hold an asset, and again only after the database changed.
    mutable std::shared_ptr<const Memberships> m_memberships;
};

} // namespace lorekeep

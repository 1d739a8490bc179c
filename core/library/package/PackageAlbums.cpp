#include "library/package/PackageAlbums.h"

#include "library/package/LocalIdentifier.h"
#include "library/package/PackageDatabase.h"

#include <algorithm>
#include <map>
#include <set>

namespace lorekeep {

struct PackageAlbums::Node {
    std::int64_t key = 0;
    std::int64_t kind = 0;
    std::string uuid;
    std::optional<std::string> title;
    std::optional<std::int64_t> parent;
    std::optional<std::int64_t> position;
};

/// Every folder and album of interest, read in one query, with the children of each folder in order and the
/// number of assets of each album.
class PackageAlbums::Tree {
public:
    explicit Tree(const PackageDatabase& database) {
        const PackageSchema& schema = database.schema();
        const std::set<std::string> columns = database.sqlite().columns(schema.albumTable);
        const std::string position = columns.contains("Z_FOK_PARENTFOLDER") ? "g.Z_FOK_PARENTFOLDER" : "NULL";
        const std::string trashed = columns.contains("ZTRASHEDSTATE") ? " AND COALESCE(g.ZTRASHEDSTATE, 0) = 0" : "";
        SqliteStatement statement = database.sqlite().prepare(
            "SELECT g.Z_PK, g.ZKIND, g.ZUUID, g.ZTITLE, g.ZPARENTFOLDER, " + position + " FROM " + schema.albumTable +
            " g WHERE g.ZKIND IN (2, 1505, 3999, 4000) AND g.ZUUID IS NOT NULL" + trashed);
        while (statement.step()) {
            Node node{statement.integer(0), statement.integer(1), statement.text(2), statement.optionalText(3), {}, {}};
            if (!statement.isNull(4))
                node.parent = statement.integer(4);
            if (!statement.isNull(5))
                node.position = statement.integer(5);
            m_nodes.push_back(std::move(node));
        }
        for (const Node& node : m_nodes) {
            if (node.kind == rootFolderKind && m_root == 0)
                m_root = node.key;
        }
        for (const Node& node : m_nodes) {
            if (node.kind != rootFolderKind && node.parent)
                m_children[*node.parent].push_back(&node);
        }
        SqliteStatement counts = database.sqlite().prepare(
            "SELECT m." + schema.membershipAlbumColumn + ", count(*) FROM " + schema.membershipTable + " m JOIN " +
            schema.assetTable + " a ON a.Z_PK = m." + schema.membershipAssetColumn +
            " WHERE COALESCE(a.ZTRASHEDSTATE, 0) = 0 GROUP BY m." + schema.membershipAlbumColumn);
        while (counts.step())
            m_counts[counts.integer(0)] = counts.integer(1);
        for (auto& [parent, children] : m_children) {
            std::sort(children.begin(), children.end(), [](const Node* left, const Node* right) {
                if (left->position != right->position)
                    return left->position < right->position;
                return left->key < right->key;
            });
        }
    }

    [[nodiscard]] std::vector<const Node*> topLevel() const {
        std::vector<const Node*> result = children(m_root);
        // iCloud shared albums live outside the folder tree.
        for (const Node& node : m_nodes) {
            if (node.kind == sharedAlbumKind && (!node.parent || !isFolder(*node.parent)))
                result.push_back(&node);
        }
        return result;
    }

    [[nodiscard]] std::vector<const Node*> children(std::int64_t folder) const {
        const auto found = m_children.find(folder);
        return found == m_children.end() ? std::vector<const Node*>{} : found->second;
    }

    [[nodiscard]] const Node* find(std::string_view uuid, std::int64_t kind) const {
        for (const Node& node : m_nodes) {
            if (node.uuid == uuid && (node.kind == kind || (kind == userAlbumKind && node.kind == sharedAlbumKind)))
                return &node;
        }
        return nullptr;
    }

    /// The assets of an album that are not in Recently Deleted.
    [[nodiscard]] std::int64_t count(std::int64_t album) const {
        const auto found = m_counts.find(album);
        return found == m_counts.end() ? 0 : found->second;
    }

    /// Every album, in the order of a depth-first walk from the top level.
    [[nodiscard]] std::vector<const Node*> albumsInOrder() const {
        std::vector<const Node*> result;
        std::set<std::int64_t> visited;
        walk(topLevel(), visited, result);
        return result;
    }

private:
    [[nodiscard]] bool isFolder(std::int64_t key) const {
        return std::any_of(m_nodes.begin(), m_nodes.end(), [&](const Node& node) {
            return node.key == key && (node.kind == folderKind || node.kind == rootFolderKind);
        });
    }

    void walk(const std::vector<const Node*>& nodes, std::set<std::int64_t>& visited,
              std::vector<const Node*>& albums) const {
        for (const Node* node : nodes) {
            if (!visited.insert(node->key).second)
                continue;
            if (node->kind == folderKind)
                walk(children(node->key), visited, albums);
            else
                albums.push_back(node);
        }
    }

    std::vector<Node> m_nodes;
    std::int64_t m_root = 0;
    std::map<std::int64_t, std::vector<const Node*>> m_children;
    std::map<std::int64_t, std::int64_t> m_counts;
};

PackageAlbums::PackageAlbums(std::shared_ptr<const PackageDatabase> database) : m_database(std::move(database)) {}

std::shared_ptr<const PackageAlbums::Tree> PackageAlbums::tree() const {
    // Reading the tree for every asset of a large library would cost more than the rest of its backup; the
    // database's data version tells when Photos changed something and the tree has to be read again.
    const std::lock_guard lock(m_mutex);
    const std::int64_t version = m_database->sqlite().dataVersion();
    if (!m_tree || version != m_treeVersion) {
        m_tree = std::make_shared<const Tree>(*m_database);
        m_treeVersion = version;
    }
    return m_tree;
}

Collection PackageAlbums::collection(const Tree& tree, const Node& node) {
    Collection result;
    result.title = node.title;
    if (node.kind == folderKind) {
        result.kind = CollectionKind::folder;
        result.localIdentifier = LocalIdentifier::make(node.uuid, LocalIdentifier::Kind::folder);
        return result;
    }
    result.kind = CollectionKind::album;
    result.localIdentifier = LocalIdentifier::make(node.uuid, LocalIdentifier::Kind::album);
    result.subtype = node.kind == sharedAlbumKind ? AlbumSubtype::cloudShared : AlbumSubtype::regular;
    result.estimatedCount = tree.count(node.key);
    return result;
}

std::vector<Collection> PackageAlbums::collections(const Tree& tree, const std::vector<const Node*>& nodes) {
    std::vector<Collection> result;
    result.reserve(nodes.size());
    for (const Node* node : nodes)
        result.push_back(collection(tree, *node));
    return result;
}

std::vector<Collection> PackageAlbums::topLevel() const {
    const auto tree = this->tree();
    return collections(*tree, tree->topLevel());
}

std::vector<Collection> PackageAlbums::children(const std::string& folderIdentifier) const {
    const std::optional<std::string> uuid = LocalIdentifier::uuid(folderIdentifier, LocalIdentifier::Kind::folder);
    if (!uuid)
        return {};
    const auto tree = this->tree();
    const Node* folder = tree->find(*uuid, folderKind);
    return folder ? collections(*tree, tree->children(folder->key)) : std::vector<Collection>{};
}

std::vector<Collection> PackageAlbums::albums(const std::vector<std::string>& identifiers) const {
    std::set<std::string> wanted;
    for (const std::string& identifier : identifiers) {
        if (auto uuid = LocalIdentifier::uuid(identifier, LocalIdentifier::Kind::album))
            wanted.insert(std::move(*uuid));
    }
    const auto tree = this->tree();
    std::vector<const Node*> found;
    for (const Node* node : tree->albumsInOrder()) {
        if (wanted.contains(node->uuid))
            found.push_back(node);
    }
    return collections(*tree, found);
}

std::vector<Collection> PackageAlbums::containing(const std::string& assetIdentifier) const {
    const std::optional<std::string> uuid = LocalIdentifier::uuid(assetIdentifier, LocalIdentifier::Kind::asset);
    if (!uuid)
        return {};
    const PackageSchema& schema = m_database->schema();
    SqliteStatement statement = m_database->sqlite().prepare(
        "SELECT m." + schema.membershipAlbumColumn + " FROM " + schema.membershipTable + " m JOIN " +
        schema.assetTable + " a ON a.Z_PK = m." + schema.membershipAssetColumn + " WHERE a.ZUUID = ?");
    statement.bind(1, *uuid);
    std::set<std::int64_t> keys;
    while (statement.step())
        keys.insert(statement.integer(0));
    if (keys.empty())
        return {};
    const auto tree = this->tree();
    std::vector<const Node*> found;
    for (const Node* node : tree->albumsInOrder()) {
        if (keys.contains(node->key))
            found.push_back(node);
    }
    return collections(*tree, found);
}

std::optional<std::int64_t> PackageAlbums::albumKey(const std::string& albumIdentifier) const {
    const std::optional<std::string> uuid = LocalIdentifier::uuid(albumIdentifier, LocalIdentifier::Kind::album);
    if (!uuid)
        return std::nullopt;
    const auto tree = this->tree();
    const Node* album = tree->find(*uuid, userAlbumKind);
    return album ? std::optional(album->key) : std::nullopt;
}

} // namespace lorekeep

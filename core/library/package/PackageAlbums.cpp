#include "library/package/PackageAlbums.h"

#include "library/package/LocalIdentifier.h"
#include "library/package/PackageDatabase.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <unordered_map>

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
        for (const Node& node : m_nodes) {
            m_byUuid[node.uuid].push_back(&node);
            m_byKey.emplace(node.key, &node);
        }
        std::set<std::int64_t> visited;
        walk(topLevel(), visited, m_albumsInOrder);
        for (std::size_t position = 0; position < m_albumsInOrder.size(); ++position)
            m_albumPositions.emplace(m_albumsInOrder[position]->key, position);
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

    [[nodiscard]] const Node* find(const std::string& uuid, std::int64_t kind) const {
        const auto found = m_byUuid.find(uuid);
        if (found == m_byUuid.end())
            return nullptr;
        for (const Node* node : found->second) {
            if (node->kind == kind || (kind == userAlbumKind && node->kind == sharedAlbumKind))
                return node;
        }
        return nullptr;
    }

    /// The assets of an album that are not in Recently Deleted.
    [[nodiscard]] std::int64_t count(std::int64_t album) const {
        const auto found = m_counts.find(album);
        return found == m_counts.end() ? 0 : found->second;
    }

    /// Every album, in the order of a depth-first walk from the top level.
    [[nodiscard]] const std::vector<const Node*>& albumsInOrder() const { return m_albumsInOrder; }

    /// The albums among the keys, in the order of albumsInOrder.
    [[nodiscard]] std::vector<const Node*> albumsAmong(const std::vector<std::int64_t>& keys) const {
        std::vector<std::size_t> positions;
        for (const std::int64_t key : keys) {
            if (const auto found = m_albumPositions.find(key); found != m_albumPositions.end())
                positions.push_back(found->second);
        }
        std::sort(positions.begin(), positions.end());
        positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
        std::vector<const Node*> result;
        result.reserve(positions.size());
        for (const std::size_t position : positions)
            result.push_back(m_albumsInOrder[position]);
        return result;
    }

private:
    [[nodiscard]] bool isFolder(std::int64_t key) const {
        const auto found = m_byKey.find(key);
        return found != m_byKey.end() && (found->second->kind == folderKind || found->second->kind == rootFolderKind);
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
    /// Nodes by UUID, in the order of m_nodes, and by key.
    std::unordered_map<std::string, std::vector<const Node*>> m_byUuid;
    std::unordered_map<std::int64_t, const Node*> m_byKey;
    std::vector<const Node*> m_albumsInOrder;
    /// Album key to its place in m_albumsInOrder.
    std::unordered_map<std::int64_t, std::size_t> m_albumPositions;
};

/// Which albums hold each asset, read in one query: rows of asset UUID and album key, sorted by UUID.
class PackageAlbums::Memberships {
public:
    explicit Memberships(const PackageDatabase& database) {
        const PackageSchema& schema = database.schema();
        SqliteStatement statement = database.sqlite().prepare(
            "SELECT a.ZUUID, m." + schema.membershipAlbumColumn + " FROM " + schema.membershipTable + " m JOIN " +
            schema.assetTable + " a ON a.Z_PK = m." + schema.membershipAssetColumn + " WHERE a.ZUUID IS NOT NULL");
        while (statement.step()) {
            const std::string uuid = statement.bytes(0);
            // Asset identifiers carry a UUID of this length; a row with another one could never be asked for.
            if (uuid.size() != uuidLength)
                continue;
            Row row{{}, statement.integer(1)};
            std::copy(uuid.begin(), uuid.end(), row.uuid.begin());
            m_rows.push_back(row);
        }
        m_rows.shrink_to_fit();
        std::sort(m_rows.begin(), m_rows.end(),
                  [](const Row& left, const Row& right) { return left.uuid < right.uuid; });
    }

    [[nodiscard]] std::vector<std::int64_t> albumsOf(std::string_view uuid) const {
        std::vector<std::int64_t> albums;
        if (uuid.size() != uuidLength)
            return albums;
        Row wanted{};
        std::copy(uuid.begin(), uuid.end(), wanted.uuid.begin());
        const auto [first, last] =
            std::equal_range(m_rows.begin(), m_rows.end(), wanted,
                             [](const Row& left, const Row& right) { return left.uuid < right.uuid; });
        for (auto row = first; row != last; ++row)
            albums.push_back(row->album);
        return albums;
    }

private:
    static constexpr std::size_t uuidLength = 36;
    struct Row {
        std::array<char, uuidLength> uuid;
        std::int64_t album = 0;
    };
    std::vector<Row> m_rows;
};

PackageAlbums::PackageAlbums(std::shared_ptr<const PackageDatabase> database) : m_database(std::move(database)) {}

PackageAlbums::~PackageAlbums() = default;

void PackageAlbums::refresh() const {
    // Reading the tree for every asset of a large library would cost more than the rest of its backup. SQLite's
    // data version changes whenever another connection (Photos) commits a change: the same number means that
    // nothing read before has changed since.
    if (!m_dataVersion)
        m_dataVersion.emplace(m_database->sqlite().prepare("PRAGMA data_version"));
    m_dataVersion->reset();
    const std::int64_t version = m_dataVersion->step() ? m_dataVersion->integer(0) : 0;
    m_dataVersion->reset();
    if (version != m_version) {
        m_tree.reset();
        m_memberships.reset();
        m_version = version;
    }
    if (!m_tree)
        m_tree = std::make_shared<const Tree>(*m_database);
}

std::shared_ptr<const PackageAlbums::Tree> PackageAlbums::tree() const {
    const std::lock_guard lock(m_mutex);
    refresh();
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
    std::shared_ptr<const Tree> tree;
    std::shared_ptr<const Memberships> memberships;
    {
        // Asked once for every asset exported: the memberships of the whole library are read once, like the tree.
        const std::lock_guard lock(m_mutex);
        refresh();
        if (!m_memberships)
            m_memberships = std::make_shared<const Memberships>(*m_database);
        tree = m_tree;
        memberships = m_memberships;
    }
    const std::vector<std::int64_t> keys = memberships->albumsOf(*uuid);
    if (keys.empty())
        return {};
    return collections(*tree, tree->albumsAmong(keys));
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

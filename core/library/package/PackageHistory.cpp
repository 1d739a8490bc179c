#include "library/package/PackageHistory.h"

#include "library/package/LocalIdentifier.h"
#include "library/package/PackageDatabase.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

namespace lorekeep {
namespace {

constexpr std::string_view tokenPrefix = "photoslibrary-history:1:";

// ACHANGE.ZCHANGETYPE values.
constexpr std::int64_t inserted = 0;
constexpr std::int64_t updated = 1;
constexpr std::int64_t deleted = 2;

enum class Group { asset, album, folder };

struct Row {
    std::int64_t transaction = 0;
    std::int64_t type = 0;
    Group group = Group::asset;
    std::int64_t key = 0;
    std::string tombstoneUuid;
};

std::string joined(const std::vector<int>& numbers) {
    std::string text;
    for (const int number : numbers)
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

void addOnce(std::vector<std::string>& list, const std::string& identifier) {
    if (std::find(list.begin(), list.end(), identifier) == list.end())
        list.push_back(identifier);
}

} // namespace

PackageHistory::PackageHistory(std::shared_ptr<const PackageDatabase> database) : m_database(std::move(database)) {}

std::string PackageHistory::archive(std::int64_t transaction) const {
    return std::string(tokenPrefix) + m_database->schema().storeUuid + ":" + std::to_string(transaction);
}

std::optional<std::int64_t> PackageHistory::transactionOf(std::string_view archive) const {
    if (!archive.starts_with(tokenPrefix))
        return std::nullopt;
    archive.remove_prefix(tokenPrefix.size());
    const std::string& store = m_database->schema().storeUuid;
    if (!archive.starts_with(store) || archive.size() <= store.size() + 1 || archive[store.size()] != ':')
        return std::nullopt;
    archive.remove_prefix(store.size() + 1);
    std::int64_t transaction = 0;
    const auto [end, error] = std::from_chars(archive.data(), archive.data() + archive.size(), transaction);
    if (error != std::errc() || end != archive.data() + archive.size() || transaction < 0)
        return std::nullopt;
    return transaction;
}

ChangeToken PackageHistory::current() const {
    if (!m_database->sqlite().hasTable("ATRANSACTION"))
        return {archive(0)};
    SqliteStatement statement = m_database->sqlite().prepare("SELECT COALESCE(max(Z_PK), 0) FROM ATRANSACTION");
    return {archive(statement.step() ? statement.integer(0) : 0)};
}

std::optional<ChangeToken> PackageHistory::unarchive(std::string_view archive) const {
    if (!transactionOf(archive))
        return std::nullopt;
    return ChangeToken{std::string(archive)};
}

std::vector<PersistentChange> PackageHistory::changesSince(const ChangeToken& token) const {
    const std::optional<std::int64_t> since = transactionOf(token.archive);
    if (!since)
        throw LibraryError("The change token does not belong to this Photos library");
    const SqliteDatabase& sqlite = m_database->sqlite();
    const PackageSchema& schema = m_database->schema();
    if (!sqlite.hasTable("ATRANSACTION") || !sqlite.hasTable("ACHANGE"))
        throw LibraryError("This Photos library keeps no change history");

    SqliteStatement bounds = sqlite.prepare("SELECT min(Z_PK), COALESCE(max(Z_PK), 0) FROM ATRANSACTION");
    (void)bounds.step();
    const std::int64_t last = bounds.integer(1);
    if (*since > last)
        throw LibraryError("The change token is newer than the Photos library's change history");
    // Written without "since + 1": a damaged history may number its transactions up to the largest integer.
    if (!bounds.isNull(0) && *since < bounds.integer(0) && bounds.integer(0) - *since > 1)
        throw LibraryError("The Photos library's change history no longer reaches back to the change token");

    std::string tombstones;
    for (const std::string& column : schema.tombstoneColumns)
        tombstones += ", c." + column;
    const std::string assets = joined(schema.assetEntities);
    const std::string albums = joined(schema.albumEntities);
    const std::string folders = joined(schema.folderEntities);
    SqliteStatement changes = sqlite.prepare(
        "SELECT c.ZTRANSACTIONID, c.ZCHANGETYPE, c.ZENTITY IN (" + assets + "), c.ZENTITY IN (" + albums +
        "), c.ZENTITYPK" + tombstones + " FROM ACHANGE c WHERE c.ZTRANSACTIONID > ? AND c.ZTRANSACTIONID <= ? AND " +
        "c.ZENTITY IN (" + assets + ", " + albums + ", " + folders + ") ORDER BY c.ZTRANSACTIONID, c.Z_PK");
    changes.bind(1, *since).bind(2, last);
    std::vector<Row> rows;
    // The UUIDs of deleted rows, by group and key, so that an object inserted and deleted again can be named.
    std::map<std::pair<Group, std::int64_t>, std::string> deletedUuids;
    while (changes.step()) {
        Row row{changes.integer(0),
                changes.integer(1),
                changes.integer(2) ? Group::asset : (changes.integer(3) ? Group::album : Group::folder),
                changes.integer(4),
                {}};
        if (row.type != inserted && row.type != updated && row.type != deleted)
            continue;
        if (row.type == deleted) {
            // A deleted row lives on only in its tombstone attributes, one of which is its UUID. Attributes come
            // in name order, so a cloud GUID (also UUID-shaped) precedes the UUID: take the last one.
            for (int column = 5; column < 5 + static_cast<int>(schema.tombstoneColumns.size()); ++column) {
                const std::string value = changes.isNull(column) ? std::string() : changes.text(column);
                if (LocalIdentifier::isUuid(value))
                    row.tombstoneUuid = value;
            }
            deletedUuids[{row.group, row.key}] = row.tombstoneUuid;
        }
        rows.push_back(std::move(row));
    }

    SqliteStatement asset = sqlite.prepare("SELECT ZUUID FROM " + schema.assetTable + " WHERE Z_PK = ?");
    SqliteStatement album = sqlite.prepare("SELECT ZUUID, ZKIND FROM " + schema.albumTable + " WHERE Z_PK = ?");
    std::vector<PersistentChange> result;
    PersistentChange change;
    std::int64_t transaction = -1;
    for (const Row& row : rows) {
        if (row.transaction != transaction) {
            if (!change.assets.empty() || !change.albums.empty() || !change.folders.empty())
                result.push_back(std::move(change));
            change = {};
            transaction = row.transaction;
        }
        std::string uuid = row.tombstoneUuid;
        if (row.type != deleted) {
            SqliteStatement& lookup = row.group == Group::asset ? asset : album;
            lookup.reset();
            lookup.bind(1, row.key);
            if (lookup.step()) {
                uuid = lookup.text(0);
                // Smart albums, the top-level folder and other system collections change all the time.
                const std::int64_t kind = row.group == Group::asset ? 0 : lookup.integer(1);
                if ((row.group == Group::album && kind != 2 && kind != 1505) ||
                    (row.group == Group::folder && kind != 4000))
                    continue;
            } else if (const auto found = deletedUuids.find({row.group, row.key}); found != deletedUuids.end()) {
                uuid = found->second;
            }
        }
        if (!LocalIdentifier::isUuid(uuid))
            continue;
        const auto kind = row.group == Group::asset   ? LocalIdentifier::Kind::asset
                          : row.group == Group::album ? LocalIdentifier::Kind::album
                                                      : LocalIdentifier::Kind::folder;
        ChangeDetails& details =
            row.group == Group::asset ? change.assets : (row.group == Group::album ? change.albums : change.folders);
        std::vector<std::string>& list =
            row.type == inserted ? details.inserted : (row.type == updated ? details.updated : details.deleted);
        addOnce(list, LocalIdentifier::make(uuid, kind));
    }
    if (!change.assets.empty() || !change.albums.empty() || !change.folders.empty())
        result.push_back(std::move(change));
    return result;
}

} // namespace lorekeep
